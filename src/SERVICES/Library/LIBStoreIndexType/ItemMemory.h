// ItemMemory.h -- memory for the items of one index, given back all at once.
//
// A small index takes little; a large one is laid into large pages. One thread at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>
#include <vector>

namespace corvane {

class ItemMemory {
 public:
  // At the boundary of a pointer, and not set to anything. Throws std::bad_alloc.
  [[nodiscard]] char* Take(std::size_t bytes);
  void Clear();
  // What the other one gave out lives on here.
  void TakeOver(ItemMemory* other);

 private:
  struct FreeChunk {
    std::size_t size;
    void operator()(char* chunk) const noexcept;
  };
  using Chunk = std::unique_ptr<char, FreeChunk>;

  std::vector<Chunk> chunks_;
  char* free_ = nullptr;
  std::size_t left_ = 0;
};

// For the nodes of a container: they lie in memory of the container's own and go with it, not when
// they are erased.
template <typename T>
class NodeAllocator {
 public:
  using value_type = T;
  using propagate_on_container_move_assignment = std::true_type;
  using propagate_on_container_swap = std::true_type;

  NodeAllocator() : memory_(std::make_shared<ItemMemory>()) {}
  // Never moved: one that was moved from has to go on working.
  NodeAllocator(const NodeAllocator&) = default;
  NodeAllocator& operator=(const NodeAllocator&) = default;
  template <typename Other>
  NodeAllocator(const NodeAllocator<Other>& other) : memory_(other.memory_) {}

  [[nodiscard]] T* allocate(std::size_t count) {
    static_assert(alignof(T) <= alignof(void*));
    return reinterpret_cast<T*>(memory_->Take(count * sizeof(T)));
  }
  void deallocate(T*, std::size_t) noexcept {}
  template <typename Other>
  bool operator==(const NodeAllocator<Other>& other) const {
    return memory_ == other.memory_;
  }

 private:
  template <typename Other>
  friend class NodeAllocator;

  std::shared_ptr<ItemMemory> memory_;
};

}  // namespace corvane
