// MoveFile.cpp -- renames, with the claims that they need.
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/ClaimedFile.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/PathSearch.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

std::int32_t Result(int systemResult) { return systemResult == 0 ? 0 : ErrorFromErrno(errno); }

bool IsDirectory(const std::string& path) {
  struct stat state = {};
  return stat(path.c_str(), &state) == 0 && S_ISDIR(state.st_mode);
}

// A new name for the file `source`, which is held for deletion.
std::int32_t MoveToNew(const std::string& from, const std::string& to) {
  const std::int32_t error = Result(sys::RenameToNew(from, to));
  return error == kErrorFileExists ? kErrorAlreadyExists : error;
}

std::int32_t MoveOver(const ClaimedFile& source, const std::string& from, const std::string& to) {
  // Two names of one file: the rename of the system would leave both.
  if (sys::NamesDescriptor(to, source.state)) return Result(sys::Unlink(from));
  ClaimedFile old;
  const std::int32_t error = OpenForDeletion(to, &old);
  if (IsNotThere(error)) return MoveToNew(from, to);
  return error != 0 ? error : Result(sys::Rename(from, to));
}

// What is moved, held for deletion if it is a file.
struct Source {
  std::string path;
  ClaimedFile file;
  bool directory = false;
};

std::int32_t TakeSource(const std::string& path, Source* source) {
  source->path = path;
  const std::int32_t error = OpenForDeletion(path, &source->file);
  source->directory = error == kErrorAccessDenied && IsDirectory(path);
  return source->directory ? 0 : error;
}

// The path that a moved file gets. A name that differs from the old one in case only is taken as it
// is given.
std::string TargetPath(const std::string& from, std::string_view to) {
  const std::string asked = SystemPath(to);
  std::string target = CreationPath(asked);
  if (target != from) return target;
  return JoinSystem(DirectoryOf(target), FileName(asked));
}

std::int32_t MoveBetweenFileSystems(const std::string& from, const std::string& to, bool replace) {
  if (!CopyFile(from, to, replace, true)) {
    return LastError() == kErrorFileExists ? kErrorAlreadyExists : LastError();
  }
  return Result(sys::Unlink(from));
}

std::int32_t MoveTo(const Source& source, const std::string& target, bool replace) {
  const std::int32_t error = OnSystemPath(target, [&](const std::string& to) {
    if (to == source.path) return std::int32_t{0};
    if (source.directory || !replace) return MoveToNew(source.path, to);
    return MoveOver(source.file, source.path, to);
  });
  if (error != kErrorNotSameDevice || source.directory) return error;
  return MoveBetweenFileSystems(source.path, target, replace);
}

}  // namespace

bool MoveFile(std::string_view from, std::string_view to, bool replace) {
  Source source;
  std::int32_t error = CheckPath(to);
  if (error == 0) {
    error = OnExistingPath(from, [&](const std::string& at) { return TakeSource(at, &source); });
  }
  if (error == 0) error = MoveTo(source, TargetPath(source.path, to), replace);
  return Succeeded(error);
}

}  // namespace corvane::platform
