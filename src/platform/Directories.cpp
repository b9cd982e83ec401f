// Directories.cpp -- directories made and removed.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "platform/DirectoryLock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/PathSearch.h"

namespace corvane::platform {
namespace {

// The spelling is looked up again under a lock of the parent, as long as the file system has such:
// two who make one name in two spellings at once would make two directories.
std::int32_t Make(const std::string& path) {
  const DirectoryLock lock(DirectoryOf(path));
  const std::string target = lock.IsHeld() ? CreationPath(path) : path;
  if (mkdir(target.c_str(), 0777) == 0) return 0;
  return errno == EEXIST ? kErrorAlreadyExists : ErrorFromErrno(errno);
}

bool IsDirectory(const std::string& path) {
  struct stat state = {};
  return stat(path.c_str(), &state) == 0 && S_ISDIR(state.st_mode);
}

// Makes `path` and what is missing above it. Others may be making the same at the same time.
std::int32_t MakeAll(const std::string& path) {
  const std::string target = CreationPath(path);
  std::int32_t error = Make(target);
  if (error == kErrorAlreadyExists && (IsDirectory(target) || DirectoryExists(path))) return 0;
  const std::string parent = DirectoryOf(path);
  if (!IsNotThere(error) || parent == path || parent == ".") return error;
  error = MakeAll(parent);
  if (error != 0) return error;
  error = OnSystemPath(CreationPath(path), Make);
  return error == kErrorAlreadyExists && DirectoryExists(path) ? 0 : error;
}

}  // namespace

bool CreateDirectory(std::string_view path) { return Succeeded(OnCreationPath(path, Make)); }

bool CreateDirectories(std::string_view path) {
  const std::int32_t bad = CheckPath(path);
  if (bad != 0) return Succeeded(bad);
  const std::string system = SystemPath(path);
  if (IsDirectory(system)) return true;
  return Succeeded(MakeAll(system));
}

bool RemoveDirectory(std::string_view path) {
  return Succeeded(OnExistingPath(path, [](const std::string& at) {
    return rmdir(at.c_str()) == 0 ? 0 : ErrorFromErrno(errno);
  }));
}

bool RemoveTree(std::string_view path) {
  const std::int32_t bad = CheckPath(path);
  if (bad != 0) return Succeeded(bad);
  std::error_code error;
  std::filesystem::remove_all(ResolvePath(path), error);
  return Succeeded(error ? ErrorFromErrno(error.value()) : 0);
}

}  // namespace corvane::platform
