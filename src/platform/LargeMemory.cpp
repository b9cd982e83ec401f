#include "platform/LargeMemory.h"

#include <sys/mman.h>

#include <cstdint>

namespace corvane::platform {
namespace {

constexpr std::size_t WholePages(std::size_t bytes) {
  return (bytes + kLargePage - 1) / kLargePage * kLargePage;
}

}  // namespace

// The system gives any page boundary, so a large page more is taken and the ends given back.
void* AllocateLarge(std::size_t bytes) {
  if (bytes > SIZE_MAX / 2) throw std::bad_alloc();
  const std::size_t size = WholePages(bytes);
  const std::size_t mapped = size + kLargePage;
  void* const all =
      mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (all == MAP_FAILED) throw std::bad_alloc();
  const auto begin = reinterpret_cast<std::uintptr_t>(all);
  const std::size_t before = WholePages(begin) - begin;
  char* const memory = static_cast<char*>(all) + before;
  if (before > 0) munmap(all, before);
  munmap(memory + size, kLargePage - before);
  madvise(memory, size, MADV_HUGEPAGE);  // a wish: without it the pages are small
  return memory;
}

void FreeLarge(void* memory, std::size_t bytes) noexcept { munmap(memory, WholePages(bytes)); }

}  // namespace corvane::platform
