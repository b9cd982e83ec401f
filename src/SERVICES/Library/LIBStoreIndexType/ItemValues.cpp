#include "SERVICES/Library/LIBStoreIndexType/ItemValues.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "SERVICES/Library/xMutexLock/Exception.h"

namespace corvane {
namespace {

constexpr std::uint16_t kTextMark = 0x8000;
constexpr std::uint32_t kGrowth = 5;
static_assert(kMaximumPropertyNames <= kTextMark);

void* Allocate(std::size_t size) {
  void* memory = std::malloc(size);
  if (memory == nullptr) throw Exception("Out of memory", "ItemValues", __LINE__);
  return memory;
}

void WriteRecord(char* at, std::string_view text) {
  const auto length = static_cast<std::int32_t>(text.size());
  std::memcpy(at, &length, sizeof length);
  std::memcpy(at + sizeof length, text.data(), text.size());
  at[sizeof length + text.size()] = '\0';
}

constexpr std::size_t RecordSize(std::size_t textSize) {
  return sizeof(std::int32_t) + textSize + 1;
}

// Longer texts can't be told by a record's length.
std::string_view Cut(std::string_view text) {
  return text.substr(0, std::numeric_limits<std::int32_t>::max() - 1);
}

}  // namespace

void PropertyBatch::Clear() {
  entries_.clear();
  texts_.clear();
  ++round_;
}

PropertyBatch::Entry& PropertyBatch::EntryOf(PropertyId id) {
  const auto slot = static_cast<std::size_t>(id.Index);
  if (slot >= seenIn_.size()) seenIn_.resize(slot + 1);
  if (seenIn_[slot] == round_) {
    return *std::find_if(entries_.begin(), entries_.end(),
                         [slot](const Entry& entry) { return entry.slot == slot; });
  }
  seenIn_[slot] = round_;
  return entries_.emplace_back(
      Entry{static_cast<std::uint16_t>(slot), id.Type == kPropertyText, 0});
}

void PropertyBatch::AddText(PropertyId id, std::string_view text) {
  if (id.Index < 0 || text.empty()) return;
  text = Cut(text);
  const std::size_t at = texts_.size();
  texts_.resize(at + RecordSize(text.size()));
  WriteRecord(texts_.data() + at, text);
  EntryOf(id).value = at;
}

void PropertyBatch::AddNumber(PropertyId id, std::uint32_t value) {
  if (id.Index >= 0) EntryOf(id).value = value;
}

ItemValues::~ItemValues() { Clear(); }

void ItemValues::FreeText(void* record) {
  const auto* text = static_cast<const char*>(record);
  if (block_ != nullptr && text >= block_ && text < block_ + blockSize_) return;
  std::free(record);
}

void ItemValues::Clear() {
  for (std::uint16_t i = 0; i < size_; ++i) {
    if ((Slots()[i] & kTextMark) != 0) FreeText(values_[i]);
  }
  std::free(values_);
  std::free(block_);
  values_ = nullptr;
  block_ = nullptr;
  blockSize_ = 0;
  size_ = capacity_ = count_ = 0;
}

void ItemValues::Reserve(std::uint32_t size) {
  if (size <= capacity_) return;
  auto* grown = static_cast<void**>(Allocate(size * (sizeof(void*) + sizeof(std::uint16_t))));
  if (size_ > 0) {
    std::memcpy(grown, values_, size_ * sizeof(void*));
    std::memcpy(grown + size, Slots(), size_ * sizeof(std::uint16_t));
  }
  std::free(values_);
  values_ = grown;
  capacity_ = static_cast<std::uint16_t>(size);
}

void* const* ItemValues::Find(std::int32_t slot) const {
  const std::uint16_t* slots = values_ == nullptr ? nullptr : Slots();
  for (std::uint16_t i = 0; i < size_; ++i) {
    if ((slots[i] & ~kTextMark) == slot) return values_ + i;
  }
  return nullptr;
}

void** ItemValues::FindOrAdd(std::int32_t slot) {
  if (void* const* found = Find(slot)) return const_cast<void**>(found);
  if (size_ == capacity_) Reserve(capacity_ + kGrowth);
  values_[size_] = nullptr;
  Slots()[size_] = static_cast<std::uint16_t>(slot);
  count_ = std::max(count_, static_cast<std::uint16_t>(slot + 1));
  return values_ + size_++;
}

const PropertyText* ItemValues::Text(PropertyId id) const {
  void* const* found = Find(id.Index);
  return found == nullptr ? nullptr : static_cast<const PropertyText*>(*found);
}

std::uint32_t ItemValues::Number(PropertyId id) const {
  void* const* found = Find(id.Index);
  return found == nullptr ? 0
                          : static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(*found));
}

void ItemValues::SetText(PropertyId id, std::string_view text) {
  char* record = nullptr;
  if (!text.empty()) {
    text = Cut(text);
    record = static_cast<char*>(Allocate(RecordSize(text.size())));
    WriteRecord(record, text);
  }
  void** entry = FindOrAdd(id.Index);
  FreeText(*entry);
  *entry = record;
  Slots()[entry - values_] |= kTextMark;
}

void ItemValues::SetNumber(PropertyId id, std::uint32_t value) {
  *FindOrAdd(id.Index) = reinterpret_cast<void*>(static_cast<std::uintptr_t>(value));
}

void ItemValues::Take(const PropertyBatch& batch) {
  Clear();
  if (batch.entries_.empty()) return;
  Reserve(static_cast<std::uint32_t>(batch.entries_.size()));
  if (!batch.texts_.empty()) {
    blockSize_ = batch.texts_.size();
    block_ = static_cast<char*>(Allocate(blockSize_));
    std::memcpy(block_, batch.texts_.data(), blockSize_);
  }
  std::uint16_t* slots = Slots();
  for (const PropertyBatch::Entry& entry : batch.entries_) {
    values_[size_] = entry.isText
                         ? static_cast<void*>(block_ + entry.value)
                         : reinterpret_cast<void*>(static_cast<std::uintptr_t>(entry.value));
    slots[size_++] = static_cast<std::uint16_t>(entry.slot | (entry.isText ? kTextMark : 0));
    count_ = std::max(count_, static_cast<std::uint16_t>(entry.slot + 1));
  }
}

}  // namespace corvane
