#include "configuration/FileSizes.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace corvane::configuration {
namespace {

constexpr std::size_t kFirstSlots = 16;

std::uint64_t KeyOf(std::string_view name) {
  return std::max<std::uint64_t>(std::hash<std::string_view>{}(name), 1);
}

}  // namespace

// The slot of the key, or the free one where it would go.
std::size_t FileSizes::Find(std::uint64_t key) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = key & mask;
  while (slots_[at].key != 0 && slots_[at].key != key) at = (at + 1) & mask;
  return at;
}

void FileSizes::Grow() {
  std::vector<Slot> old(slots_.empty() ? kFirstSlots : slots_.size() * 2);
  old.swap(slots_);
  for (const Slot& slot : old) {
    if (slot.key != 0) slots_[Find(slot.key)] = slot;
  }
}

std::uint64_t FileSizes::Set(std::string_view name, std::uint64_t size) {
  if (count_ >= slots_.size() - slots_.size() / 8) Grow();
  const std::uint64_t key = KeyOf(name);
  Slot& slot = slots_[Find(key)];
  if (slot.key == 0) {
    slot.key = key;
    ++count_;
  }
  return std::exchange(slot.size, size);
}

std::optional<std::uint64_t> FileSizes::SizeOf(std::string_view name) const {
  if (slots_.empty()) return std::nullopt;
  const Slot& slot = slots_[Find(KeyOf(name))];
  return slot.key == 0 ? std::nullopt : std::optional(slot.size);
}

std::uint64_t FileSizes::Erase(std::string_view name) {
  if (slots_.empty()) return 0;
  const std::size_t mask = slots_.size() - 1;
  std::size_t hole = Find(KeyOf(name));
  if (slots_[hole].key == 0) return 0;
  const std::uint64_t size = slots_[hole].size;
  --count_;
  // Moves back what stands behind the hole and could stand in it, so that no search ends too early.
  for (std::size_t at = (hole + 1) & mask; slots_[at].key != 0; at = (at + 1) & mask) {
    const std::size_t wanted = slots_[at].key & mask;
    if (((at - wanted) & mask) >= ((at - hole) & mask)) {
      slots_[hole] = slots_[at];
      hole = at;
    }
  }
  slots_[hole] = Slot{};
  return size;
}

void FileSizes::Clear() {
  std::vector<Slot>().swap(slots_);
  count_ = 0;
}

}  // namespace corvane::configuration
