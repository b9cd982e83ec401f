#include "message/SingleBytePage.h"

#include <algorithm>

#include "message/Ascii.h"
#include "message/Unicode.h"

namespace corvane {

SingleBytePage::SingleBytePage(const Characters& characters) : characters_(characters) {
  for (std::size_t byte = 0; byte < 256; ++byte) {
    char16_t character = characters[byte];
    std::string utf8;
    AppendUtf8(character, utf8);
    std::copy(utf8.begin(), utf8.end(), utf8_[byte].bytes);
    utf8_[byte].length = static_cast<std::uint8_t>(utf8.size());
    if (byte < 0x80 && character != byte) asciiMeansItself_ = false;
    if (character == kReplacementCharacter) continue;
    std::unique_ptr<Row>& row = bytes_[character >> 8];
    if (!row) row = std::make_unique<Row>(Row{});
    std::uint8_t& slot = (*row)[character & 0xFF];
    if (slot == 0) slot = static_cast<std::uint8_t>(byte);
  }
  std::string mark;
  FromUtf16(u"?", mark);
  unknown_ = mark[0];
}

void SingleBytePage::ToUtf16(std::string_view bytes, std::u16string& result) const {
  std::size_t start = result.size();
  result.resize(start + bytes.size());
  char16_t* out = result.data() + start;
  for (char byte : bytes) *out++ = characters_[static_cast<unsigned char>(byte)];
}

void SingleBytePage::ToUtf8(std::string_view bytes, std::string& result) const {
  constexpr std::size_t kPiece = 4096;
  std::array<char, kPiece * 3> buffer;
  for (std::size_t from = 0; from < bytes.size(); from += kPiece) {
    std::string_view piece = bytes.substr(from, kPiece);
    if (asciiMeansItself_ && IsAscii(piece)) {
      result.append(piece);
      continue;
    }
    char* out = buffer.data();
    for (char byte : piece) {
      const Utf8Form& form = utf8_[static_cast<unsigned char>(byte)];
      // Always three bytes, of which the next character overwrites what was too many.
      std::copy_n(form.bytes, 3, out);
      out += form.length;
    }
    result.append(buffer.data(), static_cast<std::size_t>(out - buffer.data()));
  }
}

void SingleBytePage::FromUtf16(std::u16string_view text, std::string& result) const {
  result.reserve(result.size() + text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char16_t character = text[i];
    // The second half of a pair has had its question mark.
    if ((character & 0xFC00) == 0xDC00 && i > 0 && (text[i - 1] & 0xFC00) == 0xD800) continue;
    const Row* row = bytes_[character >> 8].get();
    std::uint8_t byte = row == nullptr ? 0 : (*row)[character & 0xFF];
    result.push_back(byte == 0 && character != 0 ? unknown_ : static_cast<char>(byte));
  }
}

}  // namespace corvane
