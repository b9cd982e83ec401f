#include "tests/message/HeapMeter.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define CORVANE_HEAP_IS_SANITIZED 1
#endif

namespace {

std::size_t inUse = 0;
std::size_t peak = 0;

}  // namespace

namespace corvane::test {

std::size_t HeapInUse() { return inUse; }
std::size_t HeapPeak() { return peak; }
void ResetHeapPeak() { peak = inUse; }

}  // namespace corvane::test

#ifndef CORVANE_HEAP_IS_SANITIZED

void* operator new(std::size_t size) {
  void* memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  inUse += malloc_usable_size(memory);
  peak = std::max(peak, inUse);
  return memory;
}

void operator delete(void* memory) noexcept {
  inUse -= malloc_usable_size(memory);
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

#endif
