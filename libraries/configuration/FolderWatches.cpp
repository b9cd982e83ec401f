#include "configuration/FolderWatches.h"

#include <utility>

namespace corvane::configuration {
namespace {

// Past these a listing is the cheaper way, and memory stays bounded.
constexpr std::size_t kMostNamesOfFolder = 1024;
constexpr std::size_t kMostNames = 32'768;
constexpr std::size_t kMostWatches = 65'536;

}  // namespace

int FolderWatches::Add(const std::string& path) {
  std::lock_guard lock(mutex_);
  if (changes_.size() >= kMostWatches) return -1;
  const int watch = watch_.Add(path);
  if (watch < 0) return -1;
  // A directory that is watched under another name has its owner already.
  return changes_.try_emplace(watch).second ? watch : -1;
}

void FolderWatches::Remove(int watch) {
  std::lock_guard lock(mutex_);
  const auto found = changes_.find(watch);
  if (found == changes_.end()) return;
  Lose(found->second);
  changes_.erase(found);
  watch_.Remove(watch);
}

void FolderWatches::Drain() {
  std::lock_guard lock(mutex_);
  watch_.Drain([this](const platform::DirectoryEvent& event) { Note(event); });
}

FolderChanges FolderWatches::Take(int watch) {
  std::lock_guard lock(mutex_);
  const auto found = changes_.find(watch);
  if (found == changes_.end()) return {.names = {}, .any = true, .lost = true};
  keptNames_ -= found->second.names.size();
  return std::exchange(found->second, {});
}

std::size_t FolderWatches::Count() const {
  std::lock_guard lock(mutex_);
  return changes_.size();
}

void FolderWatches::Note(const platform::DirectoryEvent& event) {
  if (event.kind == platform::DirectoryEvent::Kind::kOverflow) {
    for (auto& [watch, changes] : changes_) Lose(changes);
    return;
  }
  const auto found = changes_.find(event.watch);
  if (found == changes_.end()) return;
  if (event.kind == platform::DirectoryEvent::Kind::kGone) {
    Lose(found->second);
    changes_.erase(found);
    watch_.Remove(event.watch);
  } else {
    NoteName(found->second, event);
  }
}

void FolderWatches::NoteName(FolderChanges& changes, const platform::DirectoryEvent& event) {
  changes.any = true;
  if (changes.lost || !(event.isDirectory || IsItemName(event.name))) return;
  if (!changes.names.empty() && changes.names.back() == event.name) return;
  if (changes.names.size() >= kMostNamesOfFolder || keptNames_ >= kMostNames) {
    Lose(changes);
    return;
  }
  changes.names.emplace_back(event.name);
  ++keptNames_;
}

void FolderWatches::Lose(FolderChanges& changes) {
  keptNames_ -= changes.names.size();
  changes = {.names = {}, .any = true, .lost = true};
}

}  // namespace corvane::configuration
