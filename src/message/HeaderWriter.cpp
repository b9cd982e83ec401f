// HeaderWriter.cpp -- headers as text: folding and encoded words.
//
// Each word that needs it becomes an encoded word of its own, with a blank between two, which our
// reader keeps. Readers that follow RFC 2047, 6.2 drop that blank.
#include <algorithm>

#include "message/Ascii.h"
#include "message/HeaderList.h"
#include "message/QuotedPrintable.h"

namespace corvane {
namespace {

constexpr std::size_t kColumns = 76;
constexpr std::string_view kFold = "\r\n ";

[[nodiscard]] bool NeedsWord(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) >= 129; });
}

// The value with each word that needs it encoded.
std::string EncodeWords(std::string_view value) {
  std::string result;
  for (std::size_t at = 0; at <= value.size();) {
    const std::size_t end = std::min(FindByte(value, ' ', at), value.size());
    const std::string_view word = value.substr(at, end - at);
    if (at > 0) result.push_back(' ');
    if (NeedsWord(word)) {
      std::string encoded;
      EncodeQuoted(word, encoded, word.size() * 3, true, true);
      result += "=?UTF-8?Q?" + encoded + "?=";
    } else {
      result += word;
    }
    at = end + 1;
  }
  return result;
}

// Where to cut a line that is too long: at its last blank or TAB within the columns, else at the
// columns, or with `onlyAtBlanks` at the next blank. npos leaves the rest whole.
[[nodiscard]] std::size_t CutAt(std::string_view rest, bool onlyAtBlanks) {
  std::size_t blank = rest.find_last_of(onlyAtBlanks ? " " : " \t", kColumns);
  if (blank != rest.npos && blank > 0) return blank;
  return onlyAtBlanks ? FindByte(rest, ' ', kColumns) : kColumns;
}

std::string Fold(std::string_view value, bool onlyAtBlanks) {
  std::string result;
  while (value.size() > kColumns) {
    std::size_t cut = CutAt(value, onlyAtBlanks);
    if (cut == value.npos) break;
    result.append(value.substr(0, cut)).append(kFold);
    // The blank of the fold stands for the one at the cut.
    value.remove_prefix(IsBlankOrTab(value[cut]) ? cut + 1 : cut);
  }
  result += value;
  return result;
}

// A line end in a value would begin another header.
std::string OneLine(std::string value) {
  std::replace_if(
      value.begin(), value.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  return value;
}

std::string WrittenValue(const MessageHeader& header) {
  std::string value = OneLine(HeaderList::GetValue(header));
  bool encode = NeedsWord(value);
  if (encode) value = EncodeWords(value);
  // Cutting an encoded word would break it.
  return Fold(value, encode || EqualsIgnoringCase(header.Name, "Content-Type"));
}

}  // namespace

std::string HeaderList::Serialise() const {
  std::string result;
  for (std::size_t i = 0; i < Size(); ++i) {
    MessageHeader header = At(i);
    std::string value = WrittenValue(header);
    if (i > 0) result += "\r\n";
    result += header.Name + ": ";
    std::size_t firstLine = std::min(value.find("\r\n"), value.size());
    if (header.Name.size() + firstLine > kColumns) result += kFold;
    result += value;
  }
  return result;
}

}  // namespace corvane
