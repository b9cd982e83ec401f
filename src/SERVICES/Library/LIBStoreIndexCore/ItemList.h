// ItemList.h -- items that an index was asked for, and a place among them.
#pragma once

#include <cstddef>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexType/IndexItemPropertyContainer.h"

namespace corvane {

// Refers to the index's items, or owns copies of them. One thread at a time.
class ItemList {
 public:
  ItemList() = default;
  ~ItemList() { Clear(); }
  ItemList(const ItemList&) = delete;
  ItemList& operator=(const ItemList&) = delete;

  void Clear() {
    if (owned_) {
      for (IndexItemPropertyContainer* item : items_) delete item;
    }
    items_.clear();
    owned_ = false;
    cursor_ = 0;
  }
  // Empties it; what is added from now on is copied when `clone` is set.
  void Begin(bool clone) {
    Clear();
    owned_ = clone;
  }
  void Add(IndexItemPropertyContainer* item, const std::vector<std::string>* fields = nullptr) {
    items_.push_back(owned_ ? item->Clone(fields).release() : item);
  }

  [[nodiscard]] std::size_t Size() const { return items_.size(); }
  [[nodiscard]] IndexItemPropertyContainer* At(std::size_t position) const {
    return items_[position];
  }
  [[nodiscard]] bool IsOwned() const { return owned_; }

  void Rewind() { cursor_ = 0; }
  // The next item, or null at the end.
  [[nodiscard]] IndexItemPropertyContainer* Next() {
    return cursor_ < items_.size() ? items_[cursor_++] : nullptr;
  }

 private:
  std::vector<IndexItemPropertyContainer*> items_;
  bool owned_ = false;
  std::size_t cursor_ = 0;
};

}  // namespace corvane
