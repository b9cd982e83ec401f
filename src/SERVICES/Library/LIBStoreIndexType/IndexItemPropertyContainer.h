// IndexItemPropertyContainer.h -- one row of a folder's index: a bag of properties.
//
// Names are looked up in the item's dictionary, so that even a read enters a name that is new. An
// item that belongs to an index tells it of every change but those of SEQ. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexType/ItemValues.h"
#include "SERVICES/Library/LIBStoreIndexType/PropertyMap.h"

namespace corvane {

// Who wants to know of changes: the index that holds the item.
class IndexItemOwner {
 public:
  virtual void NoteModifiedUID(std::uint32_t uid) = 0;

 protected:
  ~IndexItemOwner() = default;
};

// Name to text.
using PropertyTexts = std::map<std::string, std::string, std::less<>>;

class IndexItemPropertyContainer {
 public:
  IndexItemPropertyContainer() = default;
  virtual ~IndexItemPropertyContainer() = default;
  IndexItemPropertyContainer(const IndexItemPropertyContainer&) = delete;
  IndexItemPropertyContainer& operator=(const IndexItemPropertyContainer&) = delete;

  // A new item that lies in `memory`, which outlives it. It is deleted like any other.
  [[nodiscard]] static IndexItemPropertyContainer* MakeIn(ItemMemory* memory);
  static void operator delete(IndexItemPropertyContainer* item, std::destroying_delete_t);
  static void* operator new(std::size_t bytes);
  static void operator delete(void* memory);

  // False for a slot that the item doesn't reach. A number slot that it reaches is there, also when
  // nobody set it; a text slot when it holds a text.
  [[nodiscard]] bool Has(std::string_view name) const { return Has(Find(name)); }
  [[nodiscard]] bool Has(PropertyId id) const;

  // The text, or a number in decimal; empty when absent. The second form cuts at `size` with its
  // NUL.
  [[nodiscard]] std::string GetText(std::string_view name) const { return GetText(Find(name)); }
  [[nodiscard]] std::string GetText(PropertyId id) const;
  void GetText(std::string_view name, char* buffer, std::size_t size) const;
  // The text of a text slot as it lies in the item; empty when absent.
  [[nodiscard]] std::string_view TextView(PropertyId id) const;

  // The number, or a text read as a decimal number; 0 when absent or when it doesn't begin with
  // digits. More than 32 bits hold counts as the largest number.
  [[nodiscard]] std::uint32_t GetNumber(std::string_view name) const {
    return GetNumber(Find(name));
  }
  [[nodiscard]] std::uint32_t GetNumber(PropertyId id) const;

  // With `allowEmpty` an empty text takes the property away (a number becomes 0); without, nothing
  // happens.
  void SetText(std::string_view name, std::string_view text, bool allowEmpty) {
    SetText(Find(name), text, allowEmpty);
  }
  void SetText(PropertyId id, std::string_view text, bool allowEmpty);
  void SetNumber(std::string_view name, std::uint32_t value) { SetNumber(Find(name), value); }
  void SetNumber(PropertyId id, std::uint32_t value);
  void Remove(std::string_view name);
  void Clear();
  // All of `batch` in place of what the item holds, without a word to the owner.
  void Take(const PropertyBatch& batch, ItemMemory* memory) { values_.Take(batch, memory); }

  // Every property of the dictionary that is there; or exactly the names given, absent ones empty.
  void Export(PropertyTexts* texts, const std::vector<std::string>* fields) const;
  void Import(const PropertyTexts& texts);
  // A copy without an owner, of all properties or of the names given, with Offset and Length.
  [[nodiscard]] std::unique_ptr<IndexItemPropertyContainer> Clone(
      const std::vector<std::string>* fields) const;

  [[nodiscard]] std::uint64_t GetOffset() const { return offset_; }
  void SetOffset(std::uint64_t offset) { offset_ = offset; }
  [[nodiscard]] std::uint32_t GetLength() const { return length_; }
  void SetLength(std::uint32_t length) { length_ = length; }
  [[nodiscard]] IndexItemOwner* GetOwner() const { return owner_; }
  void SetOwner(IndexItemOwner* owner) { owner_ = owner; }
  // Null stands for the process's own map. Not owned; must outlive its use here.
  void SetDictionary(PropertyMap* dictionary) { dictionary_ = dictionary; }

 private:
  [[nodiscard]] PropertyId Find(std::string_view name) const {
    return FindProperty(dictionary_, name);
  }
  void NoteModified(PropertyId id);

  IndexItemOwner* owner_ = nullptr;
  PropertyMap* dictionary_ = nullptr;
  ItemValues values_;
  std::uint64_t offset_ = 0;  // of the element in the index file; 0 it isn't there yet
  std::uint32_t length_ = 0;  // from "<ELEMENT" to the end of "</ELEMENT>"
  bool inItemMemory_ = false;
};

// A text as a decimal number: digits behind blanks; 0 without digits, the largest number when it
// doesn't fit.
[[nodiscard]] std::uint32_t NumberOfText(std::string_view text);

}  // namespace corvane
