#include "platform/SettingsSnapshot.h"

#include <algorithm>
#include <array>
#include <compare>
#include <utility>

#include "platform/Path.h"

namespace corvane::platform {
namespace {

constexpr std::uint64_t kHashStart = 14695981039346656037ULL;
constexpr std::uint64_t kHashFactor = 1099511628211ULL;

// Every byte as it compares: small letters, and '\' for both separators.
constexpr std::array<unsigned char, 256> MakeFold() {
  std::array<unsigned char, 256> fold{};
  for (unsigned i = 0; i < 256; ++i) {
    fold[i] = static_cast<unsigned char>(i >= 'A' && i <= 'Z' ? i + 32 : i);
  }
  return fold;
}
constexpr std::array<unsigned char, 256> kFold = MakeFold();

unsigned char Fold(char character) { return kFold[static_cast<unsigned char>(character)]; }
bool IsSeparator(char character) { return character == '\\' || character == '/'; }

std::string_view WithoutRoot(std::string_view key) {
  for (std::string_view root : {"HKEY_LOCAL_MACHINE", "HKLM"}) {
    bool named = key.size() >= root.size() && EqualsNoCase(key.substr(0, root.size()), root);
    if (named && (key.size() == root.size() || IsSeparator(key[root.size()]))) {
      return key.substr(root.size());
    }
  }
  return key;
}

// Hands out the bytes of a key one by one as its canonical form has them, folded; -1 at the end.
class KeyBytes {
 public:
  explicit KeyBytes(std::string_view key) : rest_(WithoutRoot(key)) { SkipSeparators(); }

  int Next() {
    if (rest_.empty()) return -1;
    char character = rest_.front();
    rest_.remove_prefix(1);
    if (!IsSeparator(character)) return Fold(character);
    SkipSeparators();
    return rest_.empty() ? -1 : '\\';
  }

 private:
  void SkipSeparators() {
    while (!rest_.empty() && IsSeparator(rest_.front())) rest_.remove_prefix(1);
  }
  std::string_view rest_;
};

std::uint64_t Mix(std::uint64_t hash, unsigned char byte) { return (hash ^ byte) * kHashFactor; }

std::uint64_t Hash(std::string_view key, std::string_view name) {
  std::uint64_t hash = kHashStart;
  KeyBytes bytes(key);
  for (int byte = bytes.Next(); byte >= 0; byte = bytes.Next()) {
    hash = Mix(hash, static_cast<unsigned char>(byte));
  }
  hash = Mix(hash, 0);
  for (char character : name) hash = Mix(hash, Fold(character));
  return hash ^ (hash >> 32);
}

// `stored` is canonical, `asked` as a caller gave it.
bool SameKey(std::string_view stored, std::string_view asked) {
  KeyBytes bytes(asked);
  for (char character : stored) {
    if (bytes.Next() != Fold(character)) return false;
  }
  return bytes.Next() < 0;
}

// The order of keys: a separator before all else, so that a key is followed by all that is below.
int KeyRank(char character) { return character == '\\' ? -1 : Fold(character); }

std::strong_ordering CompareKeys(std::string_view a, std::string_view b) {
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    if (auto order = KeyRank(a[i]) <=> KeyRank(b[i]); order != 0) return order;
  }
  return a.size() <=> b.size();
}

std::strong_ordering CompareNames(std::string_view a, std::string_view b) {
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    if (auto order = Fold(a[i]) <=> Fold(b[i]); order != 0) return order;
  }
  return a.size() <=> b.size();
}

bool Before(const SettingsSnapshot::Item& a, const SettingsSnapshot::Item& b) {
  auto order = CompareKeys(a.key, b.key);
  return order != 0 ? order < 0 : CompareNames(a.name, b.name) < 0;
}

bool IsAtOrBelow(std::string_view key, std::string_view top) {
  if (top.empty()) return true;
  if (key.size() < top.size() || !EqualsNoCase(key.substr(0, top.size()), top)) return false;
  return key.size() == top.size() || key[top.size()] == '\\';
}

SettingEntry ToEntry(const SettingsSnapshot::Item& item) {
  return {std::string(item.key), std::string(item.name),
          SettingValue{item.type, item.number, std::string(item.bytes)}};
}

}  // namespace

std::string CanonicalSettingKey(std::string_view key) {
  std::string canonical;
  for (char character : WithoutRoot(key)) {
    if (!IsSeparator(character)) {
      canonical += character;
    } else if (!canonical.empty() && canonical.back() != '\\') {
      canonical += '\\';
    }
  }
  if (!canonical.empty() && canonical.back() == '\\') canonical.pop_back();
  return canonical;
}

void SettingsSnapshot::Builder::Add(const Item& item) {
  std::size_t start = texts_.size();
  texts_.append(item.key).append(item.name).append(item.bytes);
  std::size_t nameAt = start + item.key.size();
  rows_.push_back({start, item.key.size(), nameAt, item.name.size(), nameAt + item.name.size(),
                   item.bytes.size(), item.type, item.number});
}

SettingsSnapshot SettingsSnapshot::Builder::Finish() && {
  SettingsSnapshot snapshot;
  snapshot.texts_ = std::make_shared<const std::string>(std::move(texts_));
  std::string_view texts = *snapshot.texts_;
  snapshot.items_.reserve(rows_.size());
  for (const Row& row : rows_) {
    snapshot.items_.push_back({texts.substr(row.keyAt, row.keySize),
                               texts.substr(row.nameAt, row.nameSize), row.type, row.number,
                               texts.substr(row.bytesAt, row.bytesSize)});
  }
  std::sort(snapshot.items_.begin(), snapshot.items_.end(), Before);
  snapshot.BuildIndex();
  return snapshot;
}

void SettingsSnapshot::BuildIndex() {
  std::size_t size = 16;
  while (size < items_.size() * 2) size *= 2;
  slots_.assign(size, 0);
  for (std::size_t i = 0; i < items_.size(); ++i) {
    if (items_[i].type == SettingType::kNone) continue;
    std::size_t slot = Hash(items_[i].key, items_[i].name) & (size - 1);
    while (slots_[slot] != 0) slot = (slot + 1) & (size - 1);
    slots_[slot] = static_cast<std::uint32_t>(i + 1);
  }
}

const SettingsSnapshot::Item* SettingsSnapshot::Find(std::string_view key,
                                                     std::string_view name) const {
  if (slots_.empty()) return nullptr;
  std::size_t mask = slots_.size() - 1;
  for (std::size_t slot = Hash(key, name) & mask; slots_[slot] != 0; slot = (slot + 1) & mask) {
    const Item& item = items_[slots_[slot] - 1];
    if (EqualsNoCase(item.name, name) && SameKey(item.key, key)) return &item;
  }
  return nullptr;
}

std::vector<SettingEntry> SettingsSnapshot::List(std::string_view key) const {
  std::string top = CanonicalSettingKey(key);
  Item start;
  start.key = top;
  auto first = std::lower_bound(items_.begin(), items_.end(), start, Before);
  std::vector<SettingEntry> entries;
  for (auto item = first; item != items_.end() && IsAtOrBelow(item->key, top); ++item) {
    // The mark of a bare key comes first; a value under the same key makes it meaningless.
    auto next = item + 1;
    bool hasValues = next != items_.end() && EqualsNoCase(next->key, item->key);
    if (item->type != SettingType::kNone || !hasValues) entries.push_back(ToEntry(*item));
  }
  return entries;
}

std::optional<SettingsSnapshot> SettingsSnapshot::WithNumber(std::string_view key,
                                                             std::string_view name,
                                                             std::uint32_t number) const {
  const Item* item = Find(key, name);
  if (item == nullptr || item->type != SettingType::kDword) return std::nullopt;
  SettingsSnapshot changed = *this;
  changed.items_[static_cast<std::size_t>(item - items_.data())].number = number;
  return changed;
}

}  // namespace corvane::platform
