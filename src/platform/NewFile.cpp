#include "platform/NewFile.h"

#include <fcntl.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <functional>

#include "platform/ClaimedFile.h"
#include "platform/Error.h"
#include "platform/Path.h"
#include "platform/PathSearch.h"
#include "platform/ShareClaim.h"

namespace corvane::platform {
namespace {

std::atomic<bool> namelessFiles{true};

// Rounds of finding a name taken by somebody and free again.
constexpr int kRounds = 100;
constexpr std::size_t kMaximumName = 255;

bool HasNoNamelessFiles(int systemError) {
  return systemError == EOPNOTSUPP || systemError == EISDIR || systemError == EINVAL ||
         systemError == ENOSYS;
}

std::int32_t Result(int systemResult) { return systemResult == 0 ? 0 : ErrorFromErrno(errno); }

// Locks a file that was made just now. False when somebody has taken it for a leftover meanwhile.
bool IsOurs(const std::string& temporary, int descriptor) {
  struct stat state = {};
  return claim::Take(descriptor, Access::kReadWrite, kShareNone, true) == 0 &&
         fstat(descriptor, &state) == 0 && sys::NamesDescriptor(temporary, state);
}

// Makes the file `temporary`, locked. One that its writer has left behind is removed before.
std::int32_t MakeNamed(const std::string& temporary, sys::Descriptor* descriptor) {
  for (int round = 0; round < kRounds; ++round) {
    descriptor->Reset(sys::Open(temporary, O_RDWR | O_CREAT | O_EXCL));
    if (descriptor->IsOpen()) {
      if (IsOurs(temporary, descriptor->Get())) return 0;
      continue;
    }
    if (errno != EEXIST) return ErrorFromErrno(errno);
    ClaimedFile leftover;
    const ClaimRequest exclusive{Access::kReadWrite, kShareNone};
    const std::int32_t error = OpenClaimed(temporary, exclusive, &leftover);
    if (error == 0 && sys::Unlink(temporary) != 0) return ErrorFromErrno(errno);
    if (error != 0 && !IsNotThere(error)) return error;
  }
  return kErrorSharingViolation;
}

}  // namespace

std::string TemporaryName(const std::string& target) {
  std::string name(FileName(target));
  if (name.size() + 5 > kMaximumName) {
    char hash[20];
    std::snprintf(hash, sizeof hash, "%016zx", std::hash<std::string>()(name));
    name = name.substr(0, kMaximumName - 5 - 16) + hash;
  }
  return JoinSystem(DirectoryOf(target), "_" + name + ".tmp");
}

void UseNamelessFiles(bool use) { namelessFiles = use; }

NewFile& NewFile::operator=(NewFile&& other) noexcept {
  if (this == &other) return *this;
  Drop();
  descriptor_ = std::move(other.descriptor_);
  target_ = std::move(other.target_);
  temporary_ = std::exchange(other.temporary_, {});
  return *this;
}

void NewFile::Drop() {
  if (!temporary_.empty()) sys::CleanUp(temporary_);
  temporary_.clear();
  descriptor_.Reset();
}

std::int32_t NewFile::Make(const std::string& target, NewFile* file) {
  file->Drop();
  file->target_ = target;
  if (namelessFiles.load(std::memory_order_relaxed)) {
    file->descriptor_.Reset(sys::Open(DirectoryOf(target), O_TMPFILE | O_RDWR));
    if (file->descriptor_.IsOpen()) return 0;
    if (!HasNoNamelessFiles(errno)) return ErrorFromErrno(errno);
  }
  const std::string temporary = TemporaryName(target);
  const std::int32_t error = MakeNamed(temporary, &file->descriptor_);
  if (error == 0) file->temporary_ = temporary;
  return error;
}

std::int32_t NewFile::PlaceNew() {
  if (temporary_.empty()) return Result(sys::Link(descriptor_.Get(), target_));
  const std::int32_t error = Result(sys::RenameToNew(temporary_, target_));
  if (error == 0) temporary_.clear();
  return error;
}

std::int32_t NewFile::PlaceOver(const struct stat& old) {
  sys::CopyRights(old, descriptor_.Get());
  if (temporary_.empty()) {
    const std::string temporary = TemporaryName(target_);
    int linked = sys::Link(descriptor_.Get(), temporary);
    if (linked != 0 && errno == EEXIST) {
      linked = sys::Unlink(temporary);
      if (linked == 0) linked = sys::Link(descriptor_.Get(), temporary);
    }
    if (linked != 0) return ErrorFromErrno(errno);
    temporary_ = temporary;
  }
  if (sys::Rename(temporary_, target_) != 0) {
    const std::int32_t error = ErrorFromErrno(errno);
    sys::CleanUp(std::exchange(temporary_, {}));
    return error;
  }
  temporary_.clear();
  return 0;
}

std::int32_t NewFile::Place() {
  for (int round = 0; round < kRounds; ++round) {
    std::int32_t error = PlaceNew();
    if (error != kErrorFileExists) return error;
    ClaimedFile old;
    error = OpenForDeletion(target_, &old);
    if (error == 0) return old.mayWrite ? PlaceOver(old.state) : kErrorAccessDenied;
    if (!IsNotThere(error)) return error;
  }
  return kErrorSharingViolation;
}

}  // namespace corvane::platform
