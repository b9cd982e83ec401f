// Array.h -- a growable array of plain values.
//
// Grows by a step of its own: mode 0 adds the factor to the capacity, mode 1 multiplies by it, and
// what is asked for counts when it is more. Failures throw Exception with the source "Array". One
// thread at a time.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "SERVICES/Library/xMutexLock/Exception.h"

namespace corvane {

enum class ArrayGrowth : std::uint32_t { kAdd = 0, kMultiply = 1 };

template <typename T>
class Array {
  static_assert(std::is_trivially_copyable_v<T>, "values are moved as bytes");

 public:
  explicit Array(std::uint32_t capacity = 0, std::uint32_t growthFactor = 2,
                 ArrayGrowth growthMode = ArrayGrowth::kMultiply)
      : growthFactor_(growthFactor), growthMode_(growthMode) {
    if (capacity > 0) Allocate(capacity);
  }
  virtual ~Array() { std::free(data_); }
  Array(const Array& other) : Array(other.capacity_, other.growthFactor_, other.growthMode_) {
    Append(other.data_, other.count_);
  }
  Array(Array&& other) noexcept
      : data_(std::exchange(other.data_, nullptr)),
        capacity_(std::exchange(other.capacity_, 0)),
        count_(std::exchange(other.count_, 0)),
        growthFactor_(other.growthFactor_),
        growthMode_(other.growthMode_) {}
  Array& operator=(Array other) noexcept {
    std::swap(data_, other.data_);
    std::swap(capacity_, other.capacity_);
    std::swap(count_, other.count_);
    std::swap(growthFactor_, other.growthFactor_);
    std::swap(growthMode_, other.growthMode_);
    return *this;
  }

  [[nodiscard]] std::uint32_t Count() const { return count_; }
  [[nodiscard]] std::uint32_t Capacity() const { return capacity_; }
  [[nodiscard]] T* Data() { return data_; }
  [[nodiscard]] const T* Data() const { return data_; }

  [[nodiscard]] T& operator[](std::uint32_t index) { return data_[Checked(index)]; }
  [[nodiscard]] const T& operator[](std::uint32_t index) const { return data_[Checked(index)]; }

  void Add(const T& value) {
    const T kept = value;  // may lie in this array
    Append(&kept, 1);
  }
  // `values` don't lie in this array.
  void Append(const T* values, std::uint32_t number) {
    if (number == 0) return;
    if (number > std::numeric_limits<std::uint32_t>::max() - count_) ThrowOutOfMemory();
    if (count_ + number > capacity_) Grow(count_ + number);
    std::memcpy(data_ + count_, values, number * sizeof(T));
    count_ += number;
  }
  // Makes it `count` long; new values are zero.
  void Resize(std::uint32_t count) {
    if (count > capacity_) Grow(count);
    if (count > count_) std::memset(data_ + count_, 0, (count - count_) * sizeof(T));
    count_ = count;
  }
  // Empties it; the memory stays for the next values.
  void Clear() { count_ = 0; }

 private:
  [[noreturn]] static void ThrowOutOfMemory() {
    throw Exception("Out of memory", "Array", __LINE__);
  }

  [[nodiscard]] std::uint32_t Checked(std::uint32_t index) const {
    if (index >= count_) throw Exception("Array index out of bounds", "Array", __LINE__);
    return index;
  }

  void Grow(std::uint32_t atLeast) {
    const std::uint64_t wanted = growthMode_ == ArrayGrowth::kAdd
                                     ? std::uint64_t{capacity_} + growthFactor_
                                     : std::uint64_t{capacity_} * growthFactor_;
    const std::uint64_t capped =
        wanted > std::numeric_limits<std::uint32_t>::max() ? atLeast : wanted;
    const auto capacity = static_cast<std::uint32_t>(capped > atLeast ? capped : atLeast);
    if (capacity <= capacity_) {
      throw Exception(
          "Reallocation attempt resulted in smaller capacity; reallocation mode and factor invalid",
          "Array", __LINE__);
    }
    Allocate(capacity);
  }

  void Allocate(std::uint32_t capacity) {
    void* data = capacity > SIZE_MAX / sizeof(T)
                     ? nullptr
                     : std::realloc(static_cast<void*>(data_), capacity * sizeof(T));
    if (data == nullptr) ThrowOutOfMemory();
    data_ = static_cast<T*>(data);
    capacity_ = capacity;
  }

  T* data_ = nullptr;
  std::uint32_t capacity_ = 0;
  std::uint32_t count_ = 0;
  std::uint32_t growthFactor_;
  ArrayGrowth growthMode_;
};

}  // namespace corvane
