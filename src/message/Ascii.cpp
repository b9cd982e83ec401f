#include "message/Ascii.h"

namespace corvane {

std::size_t FindIgnoringCase(std::string_view text, std::string_view pattern, std::size_t from) {
  if (pattern.empty()) return std::string_view::npos;
  for (std::size_t at = FindByte(text, pattern[0], from); at != std::string_view::npos;
       at = FindByte(text, pattern[0], at + 1)) {
    if (StartsWithIgnoringCase(text.substr(at), pattern)) return at;
  }
  return std::string_view::npos;
}

bool ContainsIgnoringCase(std::string_view text, std::string_view pattern) {
  for (std::size_t at = 0; at + pattern.size() <= text.size(); ++at) {
    if (EqualsIgnoringCase(text.substr(at, pattern.size()), pattern)) return true;
  }
  return false;
}

bool IsAscii(std::string_view text) {
  const char* at = text.data();
  const char* end = at + text.size();
  for (; end - at >= 8; at += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, sizeof(word));
    if ((word & 0x8080808080808080U) != 0) return false;
  }
  for (; at != end; ++at) {
    if (static_cast<unsigned char>(*at) >= 0x80) return false;
  }
  return true;
}

}  // namespace corvane
