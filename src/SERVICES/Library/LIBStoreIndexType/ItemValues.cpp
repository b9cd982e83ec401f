#include "SERVICES/Library/LIBStoreIndexType/ItemValues.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "SERVICES/Library/xMutexLock/Exception.h"

namespace corvane {
namespace {

constexpr std::uint16_t kTextMark = 0x8000;
constexpr std::size_t kGrowth = 5;
constexpr std::size_t kLargestTexts = 0xFFFFFFF0;
static_assert(kMaximumPropertyNames <= kTextMark);

void WriteRecord(char* at, std::string_view text) {
  const auto length = static_cast<std::int32_t>(text.size());
  std::memcpy(at, &length, sizeof length);
  std::memcpy(at + sizeof length, text.data(), text.size());
  at[sizeof length + text.size()] = '\0';
}

constexpr std::size_t RecordSize(std::size_t textSize) {
  return sizeof(std::int32_t) + textSize + 1;
}

constexpr std::size_t kEntrySize = sizeof(std::uint32_t) + sizeof(std::uint16_t);

// Longer texts can't be told by a record's length.
std::string_view Cut(std::string_view text) {
  return text.substr(0, std::numeric_limits<std::int32_t>::max() - 1);
}

}  // namespace

void PropertyBatch::Clear() {
  entries_.clear();
  textSize_ = 0;
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
  const std::size_t end = textSize_ + RecordSize(text.size());
  if (end > kLargestTexts) throw Exception("Out of memory", "ItemValues", __LINE__);
  if (end > texts_.size()) texts_.resize(std::max(end, texts_.size() * 2));
  WriteRecord(texts_.data() + textSize_, text);
  EntryOf(id).value = static_cast<std::uint32_t>(textSize_);
  textSize_ = end;
}

void PropertyBatch::AddNumber(PropertyId id, std::uint32_t value) {
  if (id.Index >= 0) EntryOf(id).value = value;
}

void ItemValues::FreeBlock::operator()(char* block) const {
  if (owned) std::free(block);
}

void ItemValues::Clear() {
  block_.reset();
  textSize_ = textCapacity_ = 0;
  size_ = capacity_ = count_ = 0;
}

std::size_t ItemValues::TextBytesInUse() const {
  std::size_t bytes = 0;
  for (std::uint16_t i = 0; i < size_; ++i) {
    if ((Slots()[i] & kTextMark) == 0 || Values()[i] == kNoText) continue;
    bytes += RecordSize(TextOf(Texts() + Values()[i]).size());
  }
  return bytes;
}

ItemValues::Block ItemValues::Reserve(std::size_t entries, std::size_t textBytes) {
  const std::size_t size = entries * kEntrySize + textBytes;
  if (textBytes > kLargestTexts) throw Exception("Out of memory", "ItemValues", __LINE__);
  Block block(static_cast<char*>(std::malloc(size)));
  if (block == nullptr) throw Exception("Out of memory", "ItemValues", __LINE__);
  const std::uint32_t* oldValues = Values();
  const std::uint16_t* oldSlots = Slots();
  const char* oldTexts = Texts();
  block_.swap(block);
  capacity_ = static_cast<std::uint16_t>(entries);
  textCapacity_ = static_cast<std::uint32_t>(textBytes);
  textSize_ = 0;
  for (std::uint16_t i = 0; i < size_; ++i) {
    Slots()[i] = oldSlots[i];
    Values()[i] = oldValues[i];
    if ((oldSlots[i] & kTextMark) == 0 || oldValues[i] == kNoText) continue;
    const std::string_view text = TextOf(oldTexts + oldValues[i]);
    WriteRecord(Texts() + textSize_, text);
    Values()[i] = textSize_;
    textSize_ += static_cast<std::uint32_t>(RecordSize(text.size()));
  }
  return block;
}

std::uint16_t ItemValues::Find(std::int32_t slot) const {
  std::uint16_t at = 0;
  while (at < size_ && (Slots()[at] & ~kTextMark) != slot) ++at;
  return at;
}

std::uint16_t ItemValues::FindOrAdd(std::int32_t slot) {
  const std::uint16_t at = Find(slot);
  if (at < size_) return at;
  if (size_ == capacity_) Reserve(capacity_ + kGrowth, textCapacity_);
  Values()[at] = 0;
  Slots()[at] = static_cast<std::uint16_t>(slot);
  count_ = std::max(count_, static_cast<std::uint16_t>(slot + 1));
  ++size_;
  return at;
}

const PropertyText* ItemValues::Text(PropertyId id) const {
  const std::uint16_t at = Find(id.Index);
  return at == size_ || Values()[at] == kNoText ? nullptr : Texts() + Values()[at];
}

std::uint32_t ItemValues::Number(PropertyId id) const {
  const std::uint16_t at = Find(id.Index);
  return at == size_ ? 0 : Values()[at];
}

// `text` may lie in this item.
void ItemValues::SetText(PropertyId id, std::string_view text) {
  text = Cut(text);
  const std::size_t needed = text.empty() ? 0 : RecordSize(text.size());
  const bool entryLacks = size_ == capacity_ && Find(id.Index) == size_;
  const bool textLacks = textSize_ + needed > textCapacity_;
  Block old;
  if (entryLacks || textLacks) {
    const std::size_t used = TextBytesInUse();
    old = Reserve(entryLacks ? capacity_ + kGrowth : capacity_,
                  textLacks ? used + needed + used / 2 : textCapacity_);
  }
  const std::uint16_t at = FindOrAdd(id.Index);
  Slots()[at] |= kTextMark;
  Values()[at] = kNoText;
  if (text.empty()) return;
  WriteRecord(Texts() + textSize_, text);
  Values()[at] = textSize_;
  textSize_ += static_cast<std::uint32_t>(needed);
}

void ItemValues::SetNumber(PropertyId id, std::uint32_t value) {
  const std::uint16_t at = FindOrAdd(id.Index);
  Values()[at] = value;
}

void ItemValues::Take(const PropertyBatch& batch, ItemMemory* memory) {
  Clear();
  if (batch.entries_.empty()) return;
  const std::size_t size = batch.entries_.size() * kEntrySize + batch.textSize_;
  block_ = Block(memory->Take(size), FreeBlock{false});
  capacity_ = static_cast<std::uint16_t>(batch.entries_.size());
  textCapacity_ = static_cast<std::uint32_t>(batch.textSize_);
  if (batch.textSize_ > 0) std::memcpy(Texts(), batch.texts_.data(), batch.textSize_);
  textSize_ = textCapacity_;
  std::uint32_t* values = Values();
  std::uint16_t* slots = Slots();
  for (const PropertyBatch::Entry& entry : batch.entries_) {
    values[size_] = entry.value;
    slots[size_++] = static_cast<std::uint16_t>(entry.slot | (entry.isText ? kTextMark : 0));
    count_ = std::max(count_, static_cast<std::uint16_t>(entry.slot + 1));
  }
}

}  // namespace corvane
