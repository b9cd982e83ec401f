// RecordText.h -- texts in the fixed fields of records that outside callers hand over.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace corvane {

// What a field holds, up to its NUL or its end.
template <std::size_t kSize>
[[nodiscard]] std::string_view TextOf(const char (&field)[kSize]) {
  return {field, strnlen(field, kSize)};
}

// Sets a buffer of `size` bytes, cut to what fits, with a NUL behind it.
inline void CopyText(char* buffer, std::size_t size, std::string_view text) {
  if (size == 0) return;
  const std::size_t length = std::min(text.size(), size - 1);
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
}

template <std::size_t kSize>
void SetText(char (&field)[kSize], std::string_view text) {
  CopyText(field, kSize, text);
}

}  // namespace corvane
