#include "SERVICES/Library/LIBStoreIndexType/ItemMemory.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "platform/LargeMemory.h"

namespace corvane {
namespace {

constexpr std::size_t kAlignment = alignof(void*);
constexpr std::size_t kFirstChunk = 4'096;
constexpr std::size_t kDoublings = 8;
constexpr std::size_t kLargeChunk = 2 * platform::kLargePage;

}  // namespace

void ItemMemory::FreeChunk::operator()(char* chunk) const noexcept {
  if (size < kLargeChunk) {
    ::operator delete(chunk);
  } else {
    platform::FreeLarge(chunk, size);
  }
}

char* ItemMemory::Take(std::size_t bytes) {
  bytes = (bytes + kAlignment - 1) / kAlignment * kAlignment;
  if (bytes > left_) {
    const std::size_t number = chunks_.size();
    const std::size_t size =
        std::max(bytes, number <= kDoublings ? kFirstChunk << number : kLargeChunk);
    void* const room = size < kLargeChunk ? ::operator new(size) : platform::AllocateLarge(size);
    Chunk chunk(static_cast<char*>(room), {size});
    chunks_.push_back(std::move(chunk));
    free_ = chunks_.back().get();
    left_ = size;
  }
  left_ -= bytes;
  return std::exchange(free_, free_ + bytes);
}

void ItemMemory::Clear() {
  chunks_.clear();
  left_ = 0;
}

void ItemMemory::TakeOver(ItemMemory* other) {
  std::move(other->chunks_.begin(), other->chunks_.end(), std::back_inserter(chunks_));
  other->Clear();
  left_ = 0;
}

}  // namespace corvane
