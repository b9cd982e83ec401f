#include "message/Base64.h"

#include <array>
#include <cstdint>

#include "message/Ascii.h"

namespace corvane {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint32_t kBad = 0x80000000U;

// The six bits of each character, shifted to its place in the group; kBad for any other character.
using GroupTable = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr GroupTable MakeGroupTable() {
  GroupTable table{};
  for (std::size_t place = 0; place < 4; ++place) {
    table[place].fill(kBad);
    for (std::size_t value = 0; value < 64; ++value) {
      table[place][static_cast<unsigned char>(kAlphabet[value])] = static_cast<std::uint32_t>(value)
                                                                   << (18 - 6 * place);
    }
  }
  return table;
}
constexpr GroupTable kGroups = MakeGroupTable();

[[nodiscard]] std::uint32_t Bits(std::size_t place, char c) {
  return kGroups[place][static_cast<unsigned char>(c)];
}

void PutGroup(std::uint32_t bits, char* out) {
  out[0] = static_cast<char>(bits >> 16);
  out[1] = static_cast<char>(bits >> 8);
  out[2] = static_cast<char>(bits);
}

// What is left when whole groups have been taken: the padding and white space.
[[nodiscard]] bool EndsRight(std::string_view rest, std::size_t pending) {
  std::size_t padding = 0;
  for (char c : rest) {
    if (c == '=') {
      ++padding;
    } else if (!IsWhiteSpace(c)) {
      return false;
    }
  }
  if (pending == 0) return padding == 0;
  return pending != 1 && (padding == 0 || padding == 4 - pending);
}

}  // namespace

bool DecodeBase64(std::string_view text, std::string& result) {
  result.resize(text.size() / 4 * 3 + 3);
  const char* at = text.data();
  const char* end = at + text.size();
  char* out = result.data();
  std::uint32_t group = 0;
  std::size_t pending = 0;
  while (at != end) {
    if (pending == 0) {
      while (end - at >= 4) {
        std::uint32_t bits = Bits(0, at[0]) | Bits(1, at[1]) | Bits(2, at[2]) | Bits(3, at[3]);
        if ((bits & kBad) != 0) break;
        PutGroup(bits, out);
        out += 3;
        at += 4;
      }
      if (at == end) break;
    }
    char c = *at;
    std::uint32_t bits = Bits(pending, c);
    if ((bits & kBad) != 0) {
      if (!IsWhiteSpace(c)) break;
      ++at;
      continue;
    }
    ++at;
    group |= bits;
    if (++pending < 4) continue;
    PutGroup(group, out);
    out += 3;
    group = 0;
    pending = 0;
  }
  PutGroup(group, out);
  out += pending == 0 ? 0 : pending - 1;
  result.resize(static_cast<std::size_t>(out - result.data()));
  return EndsRight(std::string_view(at, static_cast<std::size_t>(end - at)), pending);
}

void EncodeBase64(std::string_view text, std::string& result) {
  std::size_t at = result.size();
  result.resize(at + (text.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < text.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (i + k < text.size() ? static_cast<unsigned char>(text[i + k]) : 0U);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      bool padding = i + k > text.size();
      result[at++] = padding ? '=' : kAlphabet[(group >> (18 - 6 * k)) & 63];
    }
  }
}

}  // namespace corvane
