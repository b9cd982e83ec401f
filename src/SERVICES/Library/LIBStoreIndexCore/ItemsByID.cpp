#include "SERVICES/Library/LIBStoreIndexCore/ItemsByID.h"

#include <algorithm>
#include <functional>

namespace corvane {
namespace {

constexpr std::size_t kFirstSlots = 16;

std::uint32_t HashOf(std::string_view id) {
  return static_cast<std::uint32_t>(std::hash<std::string_view>()(id));
}

std::string_view NameOf(const IndexItemPropertyContainer* item) {
  return item->TextView(kPropertyID);
}

}  // namespace

// Where the item of that name is, or where it would go.
std::size_t ItemsByID::Place(std::string_view id, std::uint32_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  while (slots_[at].item != nullptr && (slots_[at].hash != hash || NameOf(slots_[at].item) != id)) {
    at = (at + 1) & mask;
  }
  return at;
}

IndexItemPropertyContainer* ItemsByID::Find(std::string_view id) const {
  return slots_.empty() ? nullptr : slots_[Place(id, HashOf(id))].item;
}

void ItemsByID::Grow() {
  decltype(slots_) old(slots_.empty() ? kFirstSlots : slots_.size() * 2);
  old.swap(slots_);
  const std::size_t mask = slots_.size() - 1;
  for (const Slot& slot : old) {
    if (slot.item == nullptr) continue;
    std::size_t at = slot.hash & mask;
    while (slots_[at].item != nullptr) at = (at + 1) & mask;
    slots_[at] = slot;
  }
}

bool ItemsByID::Insert(IndexItemPropertyContainer* item) {
  if ((size_ + 1) * 4 > slots_.size() * 3) Grow();
  const std::string_view id = NameOf(item);
  const std::uint32_t hash = HashOf(id);
  Slot& slot = slots_[Place(id, hash)];
  if (slot.item != nullptr) return false;
  slot = {hash, item};
  ++size_;
  return true;
}

void ItemsByID::Erase(std::string_view id) {
  if (slots_.empty()) return;
  const std::size_t mask = slots_.size() - 1;
  std::size_t hole = Place(id, HashOf(id));
  if (slots_[hole].item == nullptr) return;
  --size_;
  // Those behind it move up, unless they would leave their own place.
  for (std::size_t at = (hole + 1) & mask; slots_[at].item != nullptr; at = (at + 1) & mask) {
    const std::size_t home = slots_[at].hash & mask;
    if (((at - home) & mask) < ((at - hole) & mask)) continue;
    slots_[hole] = slots_[at];
    hole = at;
  }
  slots_[hole] = {};
}

void ItemsByID::Clear() {
  slots_ = {};
  size_ = 0;
}

std::vector<IndexItemPropertyContainer*> ItemsByID::InOrder() const {
  std::vector<IndexItemPropertyContainer*> items;
  items.reserve(size_);
  for (const Slot& slot : slots_) {
    if (slot.item != nullptr) items.push_back(slot.item);
  }
  std::sort(items.begin(), items.end(),
            [](const auto* a, const auto* b) { return NameOf(a) < NameOf(b); });
  return items;
}

}  // namespace corvane
