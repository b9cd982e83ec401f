#include "cvctl/Printing.h"

#include "cvctl/Command.h"

namespace corvane::cvctl {
namespace {

unsigned Byte(char c) { return static_cast<unsigned char>(c); }

// How many bytes the character at the front of `text` has; 0 when none begins there. Overlong
// forms, surrogates and what lies past U+10FFFF are none.
std::size_t CharacterLength(std::string_view text) {
  const unsigned first = Byte(text[0]);
  if (first < 0x80) return 1;
  const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (length == 0 || first > 0xF4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((Byte(text[i]) & 0xC0) != 0x80) return 0;
  }
  const unsigned second = Byte(text[1]);
  const bool outside = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                       (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
  return outside ? 0 : length;
}

// U+0000 to U+001F and U+007F to U+009F; terminals heed the latter too.
bool IsControl(std::string_view character) {
  const unsigned first = Byte(character[0]);
  return first < 0x20 || first == 0x7F || (first == 0xC2 && Byte(character[1]) < 0xA0);
}

}  // namespace

std::string Shown(std::string_view text) { return ShownShort(text, text.size()); }

std::string ShownShort(std::string_view text, std::size_t characters) {
  std::string shown;
  for (; !text.empty() && characters > 0; --characters) {
    const std::size_t length = CharacterLength(text);
    const std::string_view character = text.substr(0, length == 0 ? 1 : length);
    shown += length == 0 || IsControl(character) ? std::string_view("?") : character;
    text.remove_prefix(character.size());
  }
  return shown;
}

void ConfirmJson(bool json, const char* kind, const std::string& name, const char* done) {
  if (json) PrintJson({{kind, name}, {"done", done}});
}

}  // namespace corvane::cvctl
