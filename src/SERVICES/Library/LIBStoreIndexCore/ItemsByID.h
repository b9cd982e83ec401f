// ItemsByID.h -- the items of an index by their file names.
//
// A hash table of pointers; the names stand in the items, and an item's name must not change while
// it is in here. The order by name is made when somebody asks for it. One thread at a time.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexType/IndexItemPropertyContainer.h"
#include "platform/LargeMemory.h"

namespace corvane {

class ItemsByID {
 public:
  [[nodiscard]] IndexItemPropertyContainer* Find(std::string_view id) const;
  // False when an item of that name is there already.
  [[nodiscard]] bool Insert(IndexItemPropertyContainer* item);
  // Takes the item of that name out.
  void Erase(std::string_view id);
  [[nodiscard]] std::size_t Size() const { return size_; }
  void Clear();

  // All items in the byte order of their names.
  [[nodiscard]] std::vector<IndexItemPropertyContainer*> InOrder() const;

 private:
  struct Slot {
    std::uint32_t hash = 0;
    IndexItemPropertyContainer* item = nullptr;
  };
  [[nodiscard]] std::size_t Place(std::string_view id, std::uint32_t hash) const;
  void Grow();

  std::vector<Slot, platform::LargeAllocator<Slot>>
      slots_;  // a power of two of them, linear probing
  std::size_t size_ = 0;
};

}  // namespace corvane
