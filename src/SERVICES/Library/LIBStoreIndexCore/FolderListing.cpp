#include "SERVICES/Library/LIBStoreIndexCore/FolderListing.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "connector/settings/Settings.h"
#include "platform/Error.h"

namespace corvane {
namespace {

constexpr std::size_t kKeyBytes = sizeof(std::uint64_t);

unsigned char LowerCase(char c) {
  return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

// In any case; names that differ by it alone have an order too.
bool NameBefore(std::string_view a, std::string_view b) {
  const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(), [](char c, char d) {
    return c == d || LowerCase(c) == LowerCase(d);
  });
  if (x != a.end() && y != b.end()) return LowerCase(*x) < LowerCase(*y);
  return x == a.end() && y == b.end() ? a < b : x == a.end();
}

// The beginning of a name as a number: two that differ in it stand in its order.
std::uint64_t SortKey(std::string_view name) {
  std::uint64_t key = 0;
  for (std::size_t at = 0; at < kKeyBytes; ++at) {
    key = key << 8 | (at < name.size() ? LowerCase(name[at]) : 0U);
  }
  return key;
}

}  // namespace

bool IsIndexedName(std::string_view name) {
  return !name.empty() && name.front() != '_' && name.front() != '.' &&
         name.size() < kIndexedNameLimit;
}

MessageFileWalk::MessageFileWalk(const std::string& folder)
    : finder_(folder + "\\*.MAI"), left_(settings::Get(settings::kMaximumIndexRows)) {}

std::optional<platform::FoundFile> MessageFileWalk::Next() {
  while (left_ > 1) {
    --left_;
    auto found = finder_.Next(false);
    if (!found) {
      const std::int32_t error = platform::LastError();
      failed_ = error != platform::kErrorNoMoreFiles && error != platform::kErrorFileNotFound;
      left_ = 0;
      return found;
    }
    if (IsIndexedName(found->name)) return found;
  }
  return std::nullopt;
}

void FolderListing::Forget() {
  walk_.reset();
  files_.clear();
  next_ = 0;
}

void FolderListing::List() {
  if (walk_) return;
  files_.clear();
  MessageFileWalk walk(folder_);
  while (auto found = walk.Next()) files_.push_back(std::move(*found));
  Sort();
  walk_ = std::move(walk);
}

bool FolderListing::Look() {
  List();
  std::size_t kept = 0;
  for (platform::FoundFile& file : files_) {
    if (!walk_->Finder().Look(&file) || file.info.directory) continue;
    if (&file != &files_[kept]) files_[kept] = std::move(file);
    ++kept;
  }
  files_.resize(kept);
  return !walk_->Failed();
}

// The names themselves lie all over the memory, so their keys are sorted.
void FolderListing::Sort() {
  std::vector<std::pair<std::uint64_t, std::size_t>> order;
  order.reserve(files_.size());
  for (std::size_t at = 0; at < files_.size(); ++at) {
    order.emplace_back(SortKey(files_[at].name), at);
  }
  std::sort(order.begin(), order.end(), [this](const auto& a, const auto& b) {
    if (a.first != b.first) return a.first < b.first;
    return NameBefore(files_[a.second].name, files_[b.second].name);
  });
  std::vector<platform::FoundFile> sorted;
  sorted.reserve(files_.size());
  for (const auto& [key, at] : order) sorted.push_back(std::move(files_[at]));
  files_.swap(sorted);
}

bool FolderListing::Has(std::string_view name) {
  List();
  if (next_ >= files_.size() || files_[next_].name != name) {
    const auto found =
        std::lower_bound(files_.begin(), files_.end(), name,
                         [](const platform::FoundFile& file, std::string_view wanted) {
                           return NameBefore(file.name, wanted);
                         });
    if (found == files_.end() || found->name != name) return false;
    next_ = static_cast<std::size_t>(found - files_.begin());
  }
  ++next_;
  return true;
}

}  // namespace corvane
