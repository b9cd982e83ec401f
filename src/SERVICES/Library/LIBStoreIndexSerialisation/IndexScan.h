// IndexScan.h -- looks through the text of an index file, several bytes at a time.
//
// A load of a large folder spends most of its time here.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace corvane::indexscan {

inline bool BeginsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

// A tag that is expected somewhere, made for many comparisons.
class ExpectedTag {
 public:
  explicit ExpectedTag(std::string tag);

  [[nodiscard]] std::size_t Size() const { return tag_.size(); }
  [[nodiscard]] bool Begins(std::string_view text) const {
    std::uint64_t words[kWords];
    if (text.size() < sizeof words) return BeginsWith(text, tag_);
    std::memcpy(words, text.data(), sizeof words);
    const std::uint64_t first = (words[0] ^ words_[0]) & used_[0];
    const std::uint64_t second = (words[1] ^ words_[1]) & used_[1];
    return (first | second) == 0 && (tag_.size() <= sizeof words || BeginsWith(text, tag_));
  }

 private:
  static constexpr std::size_t kWords = 2;
  std::string tag_;
  std::uint64_t words_[kWords] = {};  // its first bytes
  std::uint64_t used_[kWords] = {};   // all bits of those that it has
};

// Sixteen bytes of a text.
class Block {
 public:
  explicit Block(const char* bytes) { std::memcpy(&bytes_, bytes, sizeof bytes_); }
  // A byte of ones for each place of `c`, the first place lowest.
  struct Places {
    std::uint64_t low;
    std::uint64_t high;
  };
  [[nodiscard]] Places Of(char c) const {
    const auto equal = bytes_ == c;
    std::uint64_t halves[2];
    std::memcpy(halves, &equal, sizeof halves);
    return {halves[0], halves[1]};
  }

 private:
  static_assert(std::endian::native == std::endian::little);
  char __attribute__((vector_size(16))) bytes_;
};
inline constexpr std::size_t kBlockSize = sizeof(Block);

// The value that `text` begins with: up to the next "<".
struct Value {
  std::size_t size = std::string_view::npos;  // npos: its end isn't in the text
  bool hasAmpersand = false;
};

inline Value FindValue(std::string_view text) {
  constexpr std::size_t kBitsAByte = 8;
  constexpr std::size_t kHalf = kBlockSize / 2;
  Value value;
  std::size_t at = 0;
  for (; at + kBlockSize <= text.size(); at += kBlockSize) {
    const Block block(text.data() + at);
    const Block::Places open = block.Of('<');
    const Block::Places ampersand = block.Of('&');
    if ((open.low | open.high) == 0) {
      value.hasAmpersand |= (ampersand.low | ampersand.high) != 0;
      continue;
    }
    const bool isHigh = open.low == 0;
    const std::uint64_t half = isHigh ? open.high : open.low;
    const std::uint64_t before = (half & -half) - 1;
    const std::uint64_t met =
        isHigh ? ampersand.low | (ampersand.high & before) : ampersand.low & before;
    value.hasAmpersand |= met != 0;
    value.size =
        at + (isHigh ? kHalf : 0) + static_cast<std::size_t>(std::countr_zero(half)) / kBitsAByte;
    return value;
  }
  for (; at < text.size() && text[at] != '<'; ++at) value.hasAmpersand |= text[at] == '&';
  if (at < text.size()) value.size = at;
  return value;
}

// Where the element ends whose properties begin at `from`; npos if that isn't plain to see.
[[nodiscard]] std::size_t EndOfElement(std::string_view text, std::size_t from);

}  // namespace corvane::indexscan
