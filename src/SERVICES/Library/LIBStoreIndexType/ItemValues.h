// ItemValues.h -- the values of one item by slot.
//
// Only what an item really has takes room, ten bytes a value, so that a name that one item uses
// costs the others nothing. To its users it is an array with an entry for every slot below Count():
// a number slot below it that was never set reads 0 and counts as there. One thread at a time.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexType/PropertyMap.h"

namespace corvane {

// A text value: a signed 32-bit length, the bytes and a NUL. Records lie at any address.
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
    std::uint64_t value;  // the number, or where the text's record begins in texts_
  };
  Entry& EntryOf(PropertyId id);

  std::vector<Entry> entries_;
  std::vector<char> texts_;
  std::vector<std::uint32_t> seenIn_;  // by slot: the round in which it was last set
  std::uint32_t round_ = 1;
};

class ItemValues {
 public:
  ItemValues() = default;
  ~ItemValues();
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

  // Takes over everything in `batch`. For an empty object.
  void Take(const PropertyBatch& batch);

 private:
  [[nodiscard]] void* const* Find(std::int32_t slot) const;
  void** FindOrAdd(std::int32_t slot);
  void Reserve(std::uint32_t size);
  void FreeText(void* record);
  [[nodiscard]] std::uint16_t* Slots() const {
    return reinterpret_cast<std::uint16_t*>(values_ + capacity_);
  }

  void** values_ = nullptr;  // capacity_ values, then their slots with kTextMark where it is text
  char* block_ = nullptr;    // texts that came in one step
  std::size_t blockSize_ = 0;
  std::uint16_t size_ = 0;
  std::uint16_t capacity_ = 0;
  std::uint16_t count_ = 0;
};

}  // namespace corvane
