// ItemValues.h -- the values of one item by slot.
//
// Only what an item really has takes room, six bytes a value and its text, all in one block of
// memory, so that a name that one item uses costs the others nothing. To its users it is an array
// with an entry for every slot below Count(): a number slot below it that was never set reads 0 and
// counts as there. One thread at a time.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexType/ItemMemory.h"
#include "SERVICES/Library/LIBStoreIndexType/PropertyMap.h"

namespace corvane {

// A text value: a signed 32-bit length, the bytes and a NUL. Records lie at any address and move
// when the item's texts change.
using PropertyText = char;

[[nodiscard]] inline std::string_view TextOf(const PropertyText* record) {
  std::int32_t length = 0;
  std::memcpy(&length, record, sizeof length);
  return {record + sizeof length, static_cast<std::size_t>(length)};
}

// Values that are to become an item's in one step, texts in one block: what a reader of files fills
// for each element anew.
class PropertyBatch {
 public:
  void Clear();
  // A later value of the same slot replaces the earlier one; an empty text is no value.
  void AddText(PropertyId id, std::string_view text);
  void AddNumber(PropertyId id, std::uint32_t value);

 private:
  friend class ItemValues;
  struct Entry {
    std::uint16_t slot;
    bool isText;
    std::uint32_t value;  // the number, or where the text's record begins in texts_
  };
  Entry& EntryOf(PropertyId id);

  std::vector<Entry> entries_;
  std::vector<char> texts_;  // of which the first textSize_ bytes count
  std::size_t textSize_ = 0;
  std::vector<std::uint32_t> seenIn_;  // by slot: the round in which it was last set
  std::uint32_t round_ = 1;
};

class ItemValues {
 public:
  ItemValues() = default;
  ~ItemValues() = default;
  ItemValues(const ItemValues&) = delete;
  ItemValues& operator=(const ItemValues&) = delete;

  // Entries that the array has: one more than the highest slot that was ever set.
  [[nodiscard]] std::uint32_t Count() const { return count_; }

  // The text of a text slot, or null; the number of a number slot, 0 when it wasn't set.
  [[nodiscard]] const PropertyText* Text(PropertyId id) const;
  [[nodiscard]] std::uint32_t Number(PropertyId id) const;

  // An empty text leaves the entry without a value.
  void SetText(PropertyId id, std::string_view text);
  void SetNumber(PropertyId id, std::uint32_t value);
  void Clear();

  // Takes over everything in `batch`. For an empty object. The values lie in `memory`, which then
  // outlives them, until they need more room than they have there.
  void Take(const PropertyBatch& batch, ItemMemory* memory);

 private:
  static constexpr std::uint32_t kNoText = 0xFFFFFFFF;
  struct FreeBlock {
    FreeBlock() : owned(true) {}
    explicit FreeBlock(bool isOwned) : owned(isOwned) {}
    void operator()(char* block) const;
    bool owned;
  };
  using Block = std::unique_ptr<char, FreeBlock>;

  // The entry of a slot, or size_.
  [[nodiscard]] std::uint16_t Find(std::int32_t slot) const;
  std::uint16_t FindOrAdd(std::int32_t slot);
  // Makes a block with room for so much, and moves what is in use over. The old block, so that a
  // text in it stays good for the caller.
  Block Reserve(std::size_t entries, std::size_t textBytes);
  [[nodiscard]] std::size_t TextBytesInUse() const;

  // Of the block: capacity_ values, each a number or the place of a text's record or kNoText; then
  // capacity_ slots, with kTextMark where it is text; then the records.
  [[nodiscard]] std::uint32_t* Values() const {
    return reinterpret_cast<std::uint32_t*>(block_.get());
  }
  [[nodiscard]] std::uint16_t* Slots() const {
    return reinterpret_cast<std::uint16_t*>(Values() + capacity_);
  }
  [[nodiscard]] char* Texts() const { return reinterpret_cast<char*>(Slots() + capacity_); }

  Block block_;
  std::uint32_t textSize_ = 0;  // bytes of records, those that were replaced included
  std::uint32_t textCapacity_ = 0;
  std::uint16_t size_ = 0;
  std::uint16_t capacity_ = 0;
  std::uint16_t count_ = 0;
};

}  // namespace corvane
