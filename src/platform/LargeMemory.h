// LargeMemory.h -- memory for much data at once.
//
// The system is asked to back it with large pages: where data is written once, a fault for each
// small page costs more than the writing.
#pragma once

#include <cstddef>
#include <new>

namespace corvane::platform {

// Large pages are of this size; what is asked for is rounded up to whole ones.
inline constexpr std::size_t kLargePage = std::size_t{2} << 20;

// At the boundary of a large page, all zero. Throws std::bad_alloc when the system has none.
[[nodiscard]] void* AllocateLarge(std::size_t bytes);
// `bytes`: what was asked for.
void FreeLarge(void* memory, std::size_t bytes) noexcept;

// For tables that may become large: those of a large page and more take large ones.
template <typename T>
class LargeAllocator {
 public:
  using value_type = T;

  LargeAllocator() = default;
  template <typename Other>
  LargeAllocator(const LargeAllocator<Other>&) {}

  [[nodiscard]] T* allocate(std::size_t count) {
    static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    const std::size_t bytes = count * sizeof(T);
    return static_cast<T*>(bytes < kLargePage ? ::operator new(bytes) : AllocateLarge(bytes));
  }
  void deallocate(T* memory, std::size_t count) noexcept {
    const std::size_t bytes = count * sizeof(T);
    if (bytes < kLargePage) {
      ::operator delete(memory);
    } else {
      FreeLarge(memory, bytes);
    }
  }
  template <typename Other>
  bool operator==(const LargeAllocator<Other>&) const {
    return true;
  }
};

}  // namespace corvane::platform
