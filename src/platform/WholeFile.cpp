#include "platform/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <utility>

#include "platform/DirectoryFlush.h"
#include "platform/Error.h"
#include "platform/NewFile.h"
#include "platform/PathSearch.h"
#include "platform/ShareClaim.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

// Small pieces are gathered up to this size.
constexpr std::size_t kGatheredBytes = 16384;

}  // namespace

struct WholeFile::State {
  NewFile file;
  std::string gathered;
  std::optional<std::pair<std::int64_t, std::int32_t>> lastWriteTime;
  std::int32_t error = 0;  // of the first failure; Commit fails with it

  bool Fail() {
    if (error == 0) error = ErrorFromErrno(errno);
    SetLastError(error);
    return false;
  }
  bool Put(std::string_view bytes);
  bool PutGathered();
  bool Copy(int source, std::uint64_t offset, std::uint64_t size);
  bool CopyStream(int source);
  std::int32_t Finish(Durability durability);
  std::int32_t FinishName(Durability durability) const;
};

bool WholeFile::State::Put(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::int64_t written = sys::Write(file.Get(), bytes.data(), bytes.size());
    if (written < 0) return Fail();
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool WholeFile::State::PutGathered() {
  const bool put = Put(gathered);
  gathered.clear();
  return put;
}

bool WholeFile::State::Copy(int source, std::uint64_t offset, std::uint64_t size) {
  struct stat state = {};
  if (fstat(source, &state) != 0) return Fail();
  if (!S_ISREG(state.st_mode)) return CopyStream(source);
  std::uint64_t end = static_cast<std::uint64_t>(state.st_size);
  if (offset < end) end = offset + std::min(size, end - offset);
  // The system copies at most a little less than 2 GB a call.
  constexpr std::uint64_t kMostAtOnce = std::uint64_t{1} << 30;
  while (offset < end) {
    const auto wanted = static_cast<std::size_t>(std::min(end - offset, kMostAtOnce));
    const std::int64_t copied =
        sys::Copy(source, static_cast<std::int64_t>(offset), file.Get(), wanted);
    if (copied < 0) return Fail();
    if (copied == 0) {  // shortened meanwhile, or a file system that ends early: never a whole file
      errno = EIO;
      return Fail();
    }
    offset += static_cast<std::uint64_t>(copied);
  }
  return true;
}

// Pipes and devices have no size to go by.
bool WholeFile::State::CopyStream(int source) {
  std::array<char, 65536> buffer;
  for (;;) {
    const std::int64_t got = sys::Read(source, buffer.data(), buffer.size());
    if (got < 0) return Fail();
    if (got == 0) return true;
    if (!Put({buffer.data(), static_cast<std::size_t>(got)})) return false;
  }
}

// Everything that has to be so before the name appears.
std::int32_t WholeFile::State::Finish(Durability durability) {
  if (error != 0 || !PutGathered()) return error;
  if (lastWriteTime) {
    struct timespec times[2] = {{0, UTIME_OMIT}, {lastWriteTime->first, lastWriteTime->second}};
    if (futimens(file.Get(), times) != 0) return ErrorFromErrno(errno);
  }
  if (durability != Durability::kNone && sys::FlushData(file.Get()) != 0) {
    return ErrorFromErrno(errno);
  }
  return 0;
}

std::int32_t WholeFile::State::FinishName(Durability durability) const {
  if (durability != Durability::kDataAndName) return 0;
  return FlushSystemDirectory(DirectoryOf(file.Target()));
}

WholeFile::WholeFile() = default;
WholeFile::~WholeFile() = default;
WholeFile::WholeFile(WholeFile&&) noexcept = default;
WholeFile& WholeFile::operator=(WholeFile&&) noexcept = default;
WholeFile::operator bool() const { return static_cast<bool>(state_); }

WholeFile WholeFile::Create(std::string_view path) {
  WholeFile whole;
  auto state = std::make_unique<State>();
  const auto make = [&](const std::string& target) { return NewFile::Make(target, &state->file); };
  if (Succeeded(OnCreationPath(path, make))) whole.state_ = std::move(state);
  return whole;
}

bool WholeFile::Write(std::string_view bytes) {
  if (state_->error != 0) return state_->Fail();
  if (state_->gathered.size() + bytes.size() <= kGatheredBytes) {
    state_->gathered += bytes;
    return true;
  }
  if (!state_->PutGathered()) return false;
  if (bytes.size() > kGatheredBytes) return state_->Put(bytes);
  state_->gathered = bytes;
  return true;
}

bool WholeFile::CopyFrom(const File& source, std::uint64_t offset, std::uint64_t size) {
  if (state_->error != 0) return state_->Fail();
  return state_->PutGathered() && state_->Copy(source.Descriptor(), offset, size);
}

void WholeFile::SetLastWriteTime(std::int64_t seconds, std::int32_t nanoseconds) {
  state_->lastWriteTime = {seconds, nanoseconds};
}

bool WholeFile::Commit(bool replace, Durability durability) {
  const std::unique_ptr<State> state = std::move(state_);
  if (!state) {
    SetLastError(kErrorInvalidHandle);
    return false;
  }
  std::int32_t error = state->Finish(durability);
  if (error == 0) error = replace ? state->file.Place() : state->file.PlaceNew();
  if (error == 0) error = state->FinishName(durability);
  return Succeeded(error);
}

File WholeFile::CommitOver(File& held, Share share, Durability durability) {
  File result;
  const std::unique_ptr<State> state = std::move(state_);
  if (!state || !held.IsOpen()) {
    SetLastError(kErrorInvalidHandle);
    return result;
  }
  std::int32_t error = state->Finish(durability);
  if (error == 0) error = ReplaceHeld(&state->file, held);
  if (error == 0) error = state->FinishName(durability);
  if (error == 0 && !claim::IsExclusive(share)) {
    error = claim::Relax(state->file.Get(), Access::kReadWrite, share);
  }
  if (!Succeeded(error)) return result;
  held.Close();
  result.descriptor_ = state->file.Release();
  result.access_ = Access::kReadWrite;
  result.share_ = share;
  return result;
}

// The new file is nobody else's from before it has its name; whoever waits for the old one finds it
// renamed away and comes to the new one.
std::int32_t WholeFile::ReplaceHeld(NewFile* file, const File& held) {
  const bool alone = claim::IsExclusive(held.share_);
  const bool mayWrite = (fcntl(held.descriptor_, F_GETFL) & O_ACCMODE) != O_RDONLY;
  std::int32_t error = claim::Take(file->Get(), Access::kReadWrite, kShareNone, true);
  if (error == 0 && !alone) error = claim::TakeDeletion(held.descriptor_, mayWrite);
  if (error != 0) return error;
  struct stat state = {};
  if (fstat(held.descriptor_, &state) != 0) {
    error = ErrorFromErrno(errno);
  } else {
    error =
        sys::NamesDescriptor(file->Target(), state) ? file->PlaceOver(state) : kErrorFileNotFound;
  }
  if (!alone) claim::DropDeletion(held.descriptor_, held.share_);
  return error;
}

bool WriteWholeFile(std::string_view path, std::string_view bytes, bool replace,
                    Durability durability) {
  WholeFile whole = WholeFile::Create(path);
  return whole && whole.Write(bytes) && whole.Commit(replace, durability);
}

std::optional<std::string> ReadWholeFile(std::string_view path, std::uint64_t limit) {
  File file = File::Open(path, Access::kRead, kShareAll, Disposition::kOpenExisting);
  if (!file) return std::nullopt;
  return file.ReadAll(limit);
}

}  // namespace corvane::platform
