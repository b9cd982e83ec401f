#include "connector/settings/RegistryText.h"

#include <cstdint>

namespace corvane::settings {
namespace {

constexpr std::uint32_t kSurrogates = 0xD800;
constexpr std::uint32_t kLowSurrogates = 0xDC00;
constexpr std::uint32_t kSurrogatesEnd = 0xE000;
constexpr std::uint32_t kSupplement = 0x10000;
constexpr std::uint32_t kLastCharacter = 0x10FFFF;

std::uint32_t UnitAt(std::string_view bytes, std::size_t at) {
  auto low = static_cast<unsigned char>(bytes[at]);
  auto high = static_cast<unsigned char>(bytes[at + 1]);
  return static_cast<std::uint32_t>(low | high << 8);
}

void AppendUnit(std::string& bytes, std::uint32_t unit) {
  bytes += static_cast<char>(unit & 0xff);
  bytes += static_cast<char>(unit >> 8);
}

void AppendUtf8(std::string& text, std::uint32_t character) {
  if (character < 0x80) {
    text += static_cast<char>(character);
    return;
  }
  int tail = character < 0x800 ? 1 : character < kSupplement ? 2 : 3;
  constexpr unsigned kLeads[] = {0, 0xC0, 0xE0, 0xF0};
  text += static_cast<char>(kLeads[tail] | character >> (6 * tail));
  while (tail-- > 0) text += static_cast<char>(0x80 | (character >> (6 * tail) & 0x3F));
}

// Takes the first character off `text`; nothing when its bytes are not well-formed.
std::optional<std::uint32_t> TakeUtf8(std::string_view* text) {
  auto lead = static_cast<unsigned char>(text->front());
  std::size_t tail = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || text->size() <= tail) return std::nullopt;
  std::uint32_t character = tail == 0 ? lead : lead & (0x3Fu >> tail);
  for (std::size_t i = 1; i <= tail; ++i) {
    auto byte = static_cast<unsigned char>((*text)[i]);
    if ((byte & 0xC0) != 0x80) return std::nullopt;
    character = character << 6 | (byte & 0x3Fu);
  }
  constexpr std::uint32_t kLeast[] = {0, 0x80, 0x800, kSupplement};
  bool surrogate = character >= kSurrogates && character < kSurrogatesEnd;
  if (character < kLeast[tail] || surrogate || character > kLastCharacter) return std::nullopt;
  text->remove_prefix(tail + 1);
  return character;
}

}  // namespace

std::optional<std::string> Utf8FromUtf16(std::string_view bytes, std::size_t* badAt) {
  std::string text;
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    std::uint32_t unit = UnitAt(bytes, at);
    if (unit >= kSurrogates && unit < kSurrogatesEnd) {
      std::uint32_t next = at + 3 < bytes.size() ? UnitAt(bytes, at + 2) : 0;
      bool pair = unit < kLowSurrogates && next >= kLowSurrogates && next < kSurrogatesEnd;
      if (!pair) {
        if (badAt != nullptr) *badAt = at;
        return std::nullopt;
      }
      unit = kSupplement + ((unit - kSurrogates) << 10) + (next - kLowSurrogates);
      at += 2;
    }
    AppendUtf8(text, unit);
  }
  return text;
}

std::optional<std::string> Utf16FromUtf8(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    std::optional<std::uint32_t> character = TakeUtf8(&text);
    if (!character) return std::nullopt;
    if (*character < kSupplement) {
      AppendUnit(bytes, *character);
    } else {
      AppendUnit(bytes, kSurrogates + ((*character - kSupplement) >> 10));
      AppendUnit(bytes, kLowSurrogates + ((*character - kSupplement) & 0x3FF));
    }
  }
  return bytes;
}

}  // namespace corvane::settings
