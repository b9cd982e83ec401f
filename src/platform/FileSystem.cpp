#include "platform/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/ClaimedFile.h"
#include "platform/DirectoryFlush.h"
#include "platform/Error.h"
#include "platform/NewFile.h"
#include "platform/PathSearch.h"
#include "platform/SystemCalls.h"
#include "platform/WholeFile.h"

namespace corvane::platform {
namespace {

std::int32_t Result(int systemResult) { return systemResult == 0 ? 0 : ErrorFromErrno(errno); }

std::int32_t LookAt(std::string_view path, FileInfo* info) {
  return OnExistingPath(
      path, [&](const std::string& at) { return Result(sys::Look(AT_FDCWD, at.c_str(), info)); });
}

// What the copying and the linking of a file have in common: the source, held against those who
// forbid reading.
File OpenSource(std::string_view path) {
  return File::Open(path, Access::kRead, kShareAll, Disposition::kOpenExisting);
}

std::int32_t LinkOver(int source, const std::string& target) {
  ClaimedFile old;
  std::int32_t error = OpenForDeletion(target, &old);
  if (error == 0 && !old.mayWrite) error = kErrorAccessDenied;
  if (error != 0) return error;
  const std::string temporary = TemporaryName(target);
  error = Result(sys::Link(source, temporary));
  if (error == kErrorFileExists) {
    error = Result(sys::Unlink(temporary));
    if (error == 0) error = Result(sys::Link(source, temporary));
  }
  if (error != 0) return error;
  error = Result(sys::Rename(temporary, target));
  if (error != 0) sys::CleanUp(temporary);
  return error;
}

std::int32_t LinkAt(int source, const std::string& target) {
  if (sys::Link(source, target) == 0) return 0;
  // A file system without links, or a file with as many as it can have.
  if (errno == EPERM || errno == EMLINK || errno == EOPNOTSUPP) return kErrorNotSameDevice;
  if (errno != EEXIST) return ErrorFromErrno(errno);
  struct stat state = {};
  if (fstat(source, &state) == 0 && sys::NamesDescriptor(target, state)) return 0;
  const std::int32_t error = LinkOver(source, target);
  return IsNotThere(error) ? Result(sys::Link(source, target)) : error;
}

}  // namespace

bool FileExists(std::string_view path) {
  FileInfo info;
  const std::int32_t error = LookAt(path, &info);
  if (error != 0) SetLastError(error);
  return !IsNotThere(error) && error != kErrorNoMoreFiles && error != kErrorInvalidName;
}

bool DirectoryExists(std::string_view path) {
  FileInfo info;
  return Succeeded(LookAt(path, &info)) && info.directory;
}

std::optional<FileInfo> GetFileInfo(std::string_view path) {
  FileInfo info;
  if (!Succeeded(LookAt(path, &info))) return std::nullopt;
  return info;
}

bool DeleteFile(std::string_view path) {
  return Succeeded(OnExistingPath(path, [](const std::string& at) {
    ClaimedFile file;
    const std::int32_t error = OpenForDeletion(at, &file);
    return error != 0 ? error : Result(sys::Unlink(at));
  }));
}

bool CopyFile(std::string_view from, std::string_view to, bool replace, bool durable) {
  const File source = OpenSource(from);
  if (!source) return false;
  struct stat state = {};
  if (fstat(source.Descriptor(), &state) != 0) return FailWithErrno();
  WholeFile target = WholeFile::Create(to);
  if (!target || !target.CopyFrom(source, 0, static_cast<std::uint64_t>(state.st_size)))
    return false;
  target.SetLastWriteTime(state.st_mtim.tv_sec, static_cast<std::int32_t>(state.st_mtim.tv_nsec));
  return target.Commit(replace, durable ? Durability::kDataAndName : Durability::kNone);
}

bool LinkFile(std::string_view from, std::string_view to, bool durable) {
  const File source = OpenSource(from);
  if (!source) return false;
  std::string placed;
  std::int32_t error = OnCreationPath(to, [&](const std::string& target) {
    placed = target;
    return LinkAt(source.Descriptor(), target);
  });
  if (error == 0 && durable) error = FlushSystemDirectory(DirectoryOf(placed));
  return Succeeded(error);
}

bool FlushDirectory(std::string_view path) {
  return Succeeded(OnExistingPath(path, FlushSystemDirectory));
}

}  // namespace corvane::platform
