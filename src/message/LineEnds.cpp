#include "message/LineEnds.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace corvane {
namespace {

constexpr std::uint64_t kLowBits = 0x7F7F7F7F7F7F7F7FU;
constexpr std::uint64_t kLineFeeds = 0x0A0A0A0A0A0A0A0AU;
constexpr std::size_t kWord = 8;

// A word with the top bit of each byte that is LF; its first byte is the lowest.
[[nodiscard]] std::uint64_t LineFeedsAt(const char* text) {
  std::uint64_t word = 0;
  std::memcpy(&word, text, kWord);
  word ^= kLineFeeds;
  return ~(((word & kLowBits) + kLowBits) | word | kLowBits);
}

[[nodiscard]] std::size_t CountLineFeeds(std::string_view text) {
  std::size_t count = 0;
  std::size_t at = 0;
  for (; at + kWord <= text.size(); at += kWord) {
    // The multiplication adds the eight bytes up in the uppermost.
    count += ((LineFeedsAt(text.data() + at) >> 7) * 0x0101010101010101U) >> 56;
  }
  for (; at < text.size(); ++at) count += text[at] == '\n' ? 1 : 0;
  return count;
}

}  // namespace

std::string WithCrLf(std::string_view text) {
  static_assert(std::endian::native == std::endian::little);
  std::string result(text.size() + CountLineFeeds(text), '\0');
  const char* at = text.data();
  const char* end = at + text.size();
  char* out = result.data();
  auto copyOne = [&] {
    if (*at == '\n' && (at == text.data() || at[-1] != '\r')) *out++ = '\r';
    *out++ = *at++;
  };
  while (end - at >= static_cast<std::ptrdiff_t>(kWord)) {
    // Eight bytes, of which those from a line end on are written over.
    std::uint64_t lineFeeds = LineFeedsAt(at);
    std::memcpy(out, at, kWord);
    std::size_t plain =
        lineFeeds == 0 ? kWord : static_cast<std::size_t>(std::countr_zero(lineFeeds)) / 8;
    at += plain;
    out += plain;
    if (lineFeeds != 0) copyOne();
  }
  while (at != end) copyOne();
  result.resize(static_cast<std::size_t>(out - result.data()));
  return result;
}

}  // namespace corvane
