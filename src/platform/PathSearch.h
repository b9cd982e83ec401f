// PathSearch.h -- finds the spelling on disk of a product path. Inside the layer only.
//
// Callers try the exact path first and come here only when the system has said that it isn't
// there; so what is there under the name asked for costs no look-up at all.
#pragma once

#include <string>
#include <string_view>

#include "platform/Error.h"
#include "platform/Path.h"

namespace corvane::platform {

// What is known of a system path that isn't there as it stands.
struct Spelling {
  std::string path;             // the directory and the name as they are, or would be, on disk
  bool directoryThere = false;  // whether the directory of `path` exists
};
[[nodiscard]] Spelling FindSpelling(const std::string& path);

// The system path under which something new of that product path is to be made: what is there in
// any case, else the table spelling, else the spelling given.
[[nodiscard]] std::string CreationPath(const std::string& path);

// 0, or the number for a path that no name can be: 3 empty, 123 with a NUL.
[[nodiscard]] std::int32_t CheckPath(std::string_view path);

[[nodiscard]] constexpr bool IsNotThere(std::int32_t error) {
  return error == kErrorFileNotFound || error == kErrorPathNotFound;
}

// Calls `call(systemPath)`, which returns an error number or 0, with the path as it stands and,
// when that isn't there, with its spelling on disk. Returns the last number; 3 when the directory
// is missing.
template <typename Call>
std::int32_t OnSystemPath(const std::string& path, Call call) {
  const std::int32_t error = call(path);
  if (!IsNotThere(error)) return error;
  const Spelling found = FindSpelling(path);
  if (!found.directoryThere) return kErrorPathNotFound;
  if (found.path == path) return kErrorFileNotFound;
  return call(found.path);
}

// The same for a product path to something that exists, and to something that may be made.
template <typename Call>
std::int32_t OnExistingPath(std::string_view path, Call call) {
  const std::int32_t bad = CheckPath(path);
  return bad != 0 ? bad : OnSystemPath(SystemPath(path), call);
}
template <typename Call>
std::int32_t OnCreationPath(std::string_view path, Call call) {
  const std::int32_t bad = CheckPath(path);
  return bad != 0 ? bad : OnSystemPath(CreationPath(SystemPath(path)), call);
}

// Keeps a number as the last error unless it is 0; true for 0.
inline bool Succeeded(std::int32_t error) {
  if (error != 0) SetLastError(error);
  return error == 0;
}

// The part of a system path in front of its last name, "." or "/" where there is none; and the
// last name.
[[nodiscard]] std::string DirectoryOf(const std::string& path);
[[nodiscard]] std::string JoinSystem(const std::string& directory, std::string_view name);

}  // namespace corvane::platform
