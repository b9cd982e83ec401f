#include "configuration/FolderSize.h"

#include <set>
#include <thread>
#include <utility>

#include "platform/Clock.h"
#include "platform/Error.h"

namespace corvane::configuration {
namespace {

constexpr int kDeepestFolder = 64;
constexpr std::int64_t kListAnewMilliseconds = 3'600'000;
// Nobody tells of a file that is written anew in a folder without a watch.
constexpr std::int64_t kListUnwatchedAnewMilliseconds = 300'000;
// A folder with more files than this would take the memory of all others; it is listed at each
// change.
constexpr std::size_t kMostTrackedFiles = 200'000;
// The kernel stamps a directory a moment before it tells of the change.
constexpr int kWaitsForSign = 3;

// A name that would be read as two can't be a folder of the product.
bool IsReachable(std::string_view name) { return name.find('\\') == std::string_view::npos; }

}  // namespace

FolderSize::FolderSize(std::string path, MeasuringTools& tools, int depth)
    : path_(std::move(path)), tools_(tools), depth_(depth) {}

FolderSize::~FolderSize() { StopWatching(); }

std::uint64_t FolderSize::Measure() {
  Update();
  std::uint64_t bytes = total_;
  for (const auto& [name, child] : children_) bytes += child->Measure();
  return bytes;
}

void FolderSize::Update() {
  const auto now = platform::ReadDirectoryStamp(path_);
  if (!now) return ForgetIfGone();
  if (!known_ || IsOverdue() || now->device != stamp_.device || now->file != stamp_.file) {
    return List();
  }
  if (watch_ < 0) {
    if (!IsUnchanged(*now)) List();
    return;
  }
  FolderChanges changes = tools_.watches.Take(watch_);
  for (int wait = 0; !changes.any && *now != stamp_; ++wait) {
    if (wait == kWaitsForSign) return List();
    if (wait > 0) std::this_thread::yield();
    tools_.watches.Drain();
    changes = tools_.watches.Take(watch_);
  }
  if (changes.lost) return List();
  if (changes.any) Apply(changes);
}

bool FolderSize::IsUnchanged(const platform::DirectoryStamp& now) const {
  return now == stamp_ && settled_;
}

bool FolderSize::IsOverdue() const {
  return platform::CurrentClock().Monotonic() - listedAt_ >=
         (watch_ >= 0 ? kListAnewMilliseconds : kListUnwatchedAnewMilliseconds);
}

void FolderSize::List() {
  // What is known of an unwatched folder's files is good for a while: messages come and go, and
  // are hardly ever written anew.
  FileSizes before;
  if (watch_ < 0 && known_ && !IsOverdue()) std::swap(before, sizes_);
  StopWatching();
  if (tools_.useWatches && !tooMany_) watch_ = tools_.watches.Add(path_);
  // What changes from here on is told by the watch or shows in the stamp.
  const auto stamp = platform::ReadDirectoryStamp(path_);
  if (!stamp) return ForgetIfGone();
  settled_ = platform::IsSettled(*stamp);
  ++tools_.listings;
  std::uint64_t total = 0;
  std::size_t files = 0;
  std::set<std::string, std::less<>> folders;
  const auto take = [&](const platform::DirectoryName& found) {
    if (found.isDirectory) {
      if (IsReachable(found.name)) folders.emplace(found.name);
    } else if (IsItemName(found.name)) {
      total += found.size;
      if (++files > kMostTrackedFiles) {
        StopWatching();
      } else {
        sizes_.Set(found.name, found.size);
      }
    }
  };
  known_ = platform::ListDirectory(path_, take,
                                   [&](std::string_view name) { return before.SizeOf(name); });
  // A folder that can't be read to its end keeps the size that it had.
  if (!known_) return StopWatching();
  total_ = total;
  std::erase_if(children_, [&](const auto& child) { return !folders.contains(child.first); });
  for (const std::string& name : folders) {
    if (depth_ >= kDeepestFolder || children_.contains(name)) continue;
    children_.emplace(name, std::make_unique<FolderSize>(path_ + "/" + name, tools_, depth_ + 1));
  }
  tooMany_ = files > kMostTrackedFiles;
  stamp_ = *stamp;
  listedAt_ = platform::CurrentClock().Monotonic();
}

void FolderSize::Apply(const FolderChanges& changes) {
  for (const std::string& name : changes.names) ApplyName(name);
  // A change since the events were taken is in this stamp, and its event waits for the next time.
  if (const auto stamp = platform::ReadDirectoryStamp(path_)) stamp_ = *stamp;
}

void FolderSize::ApplyName(const std::string& name) {
  ++tools_.looks;
  const auto found = platform::LookAtName(path_, name);
  const bool isFolder = found && found->isDirectory;
  if (!isFolder) children_.erase(name);
  if (isFolder) {
    if (depth_ < kDeepestFolder && IsReachable(name) && !children_.contains(name)) {
      children_.emplace(name, std::make_unique<FolderSize>(path_ + "/" + name, tools_, depth_ + 1));
    }
    total_ -= sizes_.Erase(name);
  } else if (!found || !IsItemName(name)) {
    total_ -= sizes_.Erase(name);
  } else {
    total_ -= sizes_.Set(name, found->size);
    total_ += found->size;
  }
}

void FolderSize::StopWatching() {
  if (watch_ >= 0) tools_.watches.Remove(std::exchange(watch_, -1));
  sizes_.Clear();
}

void FolderSize::Cool() {
  if (watch_ >= 0) {
    settled_ = !tools_.watches.Take(watch_).any && platform::IsSettled(stamp_);
    StopWatching();
  }
  for (const auto& [name, child] : children_) child->Cool();
}

// Only a folder that isn't there has no size; one that can't be looked at keeps what it had.
void FolderSize::ForgetIfGone() {
  const std::int32_t error = platform::LastError();
  if (error != platform::kErrorFileNotFound && error != platform::kErrorPathNotFound) return;
  StopWatching();
  children_.clear();
  known_ = false;
  total_ = 0;
}

std::size_t FolderSize::FolderCount() const {
  std::size_t count = 1;
  for (const auto& [name, child] : children_) count += child->FolderCount();
  return count;
}

std::size_t FolderSize::MemoryBytes() const {
  std::size_t bytes = sizeof *this + path_.capacity() + sizes_.MemoryBytes();
  for (const auto& [name, child] : children_) bytes += child->MemoryBytes();
  return bytes;
}

}  // namespace corvane::configuration
