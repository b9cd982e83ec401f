#include "platform/NameCache.h"

#include <dirent.h>
#include <fcntl.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/NameTable.h"

namespace corvane::platform::names {
namespace {

std::atomic<std::uint64_t> looks{0};
std::atomic<std::uint64_t> listings{0};
std::atomic<std::uint64_t> listedNames{0};

// Times of changes have the width of a clock tick; two ticks apart they differ for sure.
constexpr std::int64_t kTickNanoseconds = 20'000'000;

std::int64_t Nanoseconds(const struct timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

using DirectoryKey = std::pair<dev_t, ino_t>;

struct Stamp {
  std::int64_t modified = 0;
  std::int64_t changed = 0;
  friend bool operator==(const Stamp&, const Stamp&) = default;
};

Stamp StampOf(const struct stat& state) {
  return {Nanoseconds(state.st_mtim), Nanoseconds(state.st_ctim)};
}

// Whether a change from now on will bear another time than the last one did.
bool IsSettled(const Stamp& stamp) {
  struct timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return Nanoseconds(now) - stamp.changed > kTickNanoseconds;
}

// FNV-1a over the folded bytes.
std::uint32_t HashOf(std::string_view name) {
  std::uint32_t hash = 2166136261U;
  for (const char c : name) {
    hash = (hash ^ static_cast<unsigned char>(FoldedByte(c))) * 16777619U;
  }
  return hash;
}

bool SameFolded(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return FoldedByte(x) == FoldedByte(y);
         });
}

class Listing {
 public:
  void Add(std::string_view name) {
    names_.push_back({HashOf(name), static_cast<std::uint32_t>(arena_.size()),
                      static_cast<std::uint32_t>(name.size())});
    arena_.append(name);
  }

  void Finish() {
    std::sort(names_.begin(), names_.end(),
              [](const Name& a, const Name& b) { return a.hash < b.hash; });
    arena_.shrink_to_fit();
    names_.shrink_to_fit();
  }

  [[nodiscard]] std::size_t Bytes() const {
    return sizeof(*this) + arena_.size() + names_.size() * sizeof(Name);
  }

  [[nodiscard]] std::optional<std::string> Find(std::string_view name) const {
    const std::uint32_t hash = HashOf(name);
    auto at = std::lower_bound(names_.begin(), names_.end(), hash,
                               [](const Name& a, std::uint32_t b) { return a.hash < b; });
    std::string_view best;
    for (; at != names_.end() && at->hash == hash; ++at) {
      const std::string_view candidate(arena_.data() + at->offset, at->size);
      if (candidate == name) return std::string(name);
      if (SameFolded(candidate, name) && (best.empty() || candidate < best)) best = candidate;
    }
    if (best.empty()) return std::nullopt;
    return std::string(best);
  }

 private:
  struct Name {
    std::uint32_t hash;
    std::uint32_t offset;
    std::uint32_t size;
  };
  std::string arena_;
  std::vector<Name> names_;
};

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

struct ReadListing {
  std::shared_ptr<const Listing> listing;
  struct stat before = {};
  bool keep = false;
};

std::optional<ReadListing> ReadDirectory(const std::string& path) {
  const std::unique_ptr<DIR, CloseDirectory> directory(opendir(path.c_str()));
  ReadListing result;
  if (!directory || fstat(dirfd(directory.get()), &result.before) != 0) return std::nullopt;
  const bool settled = IsSettled(StampOf(result.before));
  auto listing = std::make_shared<Listing>();
  std::uint64_t count = 0;
  while (const dirent* entry = readdir(directory.get())) {
    ++count;
    const std::string_view name = entry->d_name;
    if (name != "." && name != ".." && !IsMessage(name)) listing->Add(name);
  }
  listings.fetch_add(1, std::memory_order_relaxed);
  listedNames.fetch_add(count, std::memory_order_relaxed);
  listing->Finish();
  struct stat after = {};
  result.keep = settled && fstat(dirfd(directory.get()), &after) == 0 &&
                StampOf(after) == StampOf(result.before);
  result.listing = std::move(listing);
  return result;
}

class ListingCache {
 public:
  std::shared_ptr<const Listing> Get(const DirectoryKey& key, const Stamp& stamp) {
    std::lock_guard lock(mutex_);
    const auto found = byKey_.find(key);
    if (found == byKey_.end() || found->second->stamp != stamp) return nullptr;
    byUse_.splice(byUse_.begin(), byUse_, found->second);
    return found->second->listing;
  }

  void Put(const DirectoryKey& key, const Stamp& stamp, std::shared_ptr<const Listing> listing) {
    std::lock_guard lock(mutex_);
    if (const auto old = byKey_.find(key); old != byKey_.end()) Drop(old->second);
    const std::size_t size = listing->Bytes();
    if (size > kListingBytes) return;
    while (bytes_ + size > kListingBytes) Drop(std::prev(byUse_.end()));
    byUse_.push_front({key, stamp, std::move(listing)});
    byKey_[key] = byUse_.begin();
    bytes_ += size;
  }

 private:
  struct Entry {
    DirectoryKey key;
    Stamp stamp;
    std::shared_ptr<const Listing> listing;
  };
  using Place = std::list<Entry>::iterator;

  void Drop(Place place) {
    bytes_ -= place->listing->Bytes();
    byKey_.erase(place->key);
    byUse_.erase(place);
  }

  std::mutex mutex_;
  std::list<Entry> byUse_;
  std::map<DirectoryKey, Place> byKey_;
  std::size_t bytes_ = 0;
};

ListingCache& TheListings() {
  static ListingCache& cache = *new ListingCache;  // outlives every thread
  return cache;
}

// Two generations: what is asked for moves to the young one; when that is half full, the old one
// goes.
class RememberedSpellings {
 public:
  std::optional<std::string> Get(const std::string& path) {
    std::lock_guard lock(mutex_);
    if (const auto found = young_.find(path); found != young_.end()) return found->second;
    auto node = old_.extract(path);
    if (node.empty()) return std::nullopt;
    std::string onDisk = node.mapped();
    PutLocked(path, onDisk);
    return onDisk;
  }

  void Put(const std::string& path, const std::string& onDisk) {
    std::lock_guard lock(mutex_);
    PutLocked(path, onDisk);
  }

  void Drop(const std::string& path) {
    std::lock_guard lock(mutex_);
    young_.erase(path);
    old_.erase(path);
  }

 private:
  void PutLocked(const std::string& path, const std::string& onDisk) {
    if (young_.size() >= kRememberedCount / 2) {
      old_ = std::move(young_);
      young_.clear();
    }
    young_[path] = onDisk;
  }

  std::mutex mutex_;
  std::unordered_map<std::string, std::string> young_;
  std::unordered_map<std::string, std::string> old_;
};

RememberedSpellings& TheSpellings() {
  static RememberedSpellings& spellings = *new RememberedSpellings;
  return spellings;
}

}  // namespace

std::optional<std::string> FindInListing(const std::string& directory, const struct stat& known,
                                         std::string_view name) {
  const DirectoryKey key{known.st_dev, known.st_ino};
  if (const auto kept = TheListings().Get(key, StampOf(known))) return kept->Find(name);
  const std::optional<ReadListing> fresh = ReadDirectory(directory);
  if (!fresh) return std::nullopt;
  if (fresh->keep) {
    TheListings().Put({fresh->before.st_dev, fresh->before.st_ino}, StampOf(fresh->before),
                      fresh->listing);
  }
  return fresh->listing->Find(name);
}

std::optional<std::string> Remembered(const std::string& path) { return TheSpellings().Get(path); }
void Remember(const std::string& path, const std::string& onDisk) {
  TheSpellings().Put(path, onDisk);
}
void Forget(const std::string& path) { TheSpellings().Drop(path); }

LookupCounters Counters() { return {looks.load(), listings.load(), listedNames.load()}; }
void CountLook() { looks.fetch_add(1, std::memory_order_relaxed); }

}  // namespace corvane::platform::names
