#include "message/QuotedPrintable.h"

#include "message/Ascii.h"

namespace corvane {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

[[nodiscard]] bool NeedsEncoding(char c) {
  auto byte = static_cast<unsigned char>(c);
  return byte < 32 || byte >= 127 || c == '=' || c == '?' || c == '_';
}

void AppendByte(char c, std::string& result) {
  auto byte = static_cast<unsigned char>(c);
  const char form[] = {'=', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
  result.append(form, 3);
}

[[nodiscard]] std::string_view EffectiveText(std::string_view text, bool stopAtLength) {
  return stopAtLength ? text : text.substr(0, text.find('\0'));
}

// Reads what stands behind the '=' at `at`: moves `at` behind all of it and gives the byte, or
// nothing for a soft break and for a '=' that means nothing.
void DecodeEscape(std::string_view text, std::size_t& at, std::string& result) {
  std::string_view rest = text.substr(at + 1, 2);
  if (rest.starts_with("\r\n")) {
    at += 3;
  } else if (rest.starts_with('\n')) {
    at += 2;
  } else if (rest.size() == 2 && HexValue(rest[0]) >= 0 && HexValue(rest[1]) >= 0) {
    result.push_back(static_cast<char>(HexValue(rest[0]) * 16 + HexValue(rest[1])));
    at += 3;
  } else {
    at += 1;
  }
}

}  // namespace

bool DecodeQuotedPrintable(std::string_view text, std::string& result, bool underscoreIsBlank) {
  result.clear();
  if (text.empty()) return false;
  result.reserve(text.size());
  std::size_t last = text.size() - 1;
  std::size_t at = 0;
  while (at < last) {
    std::size_t escape = std::min(FindByte(text, '=', at), last);
    std::size_t start = result.size();
    result.append(text, at, escape - at);
    if (underscoreIsBlank) {
      for (std::size_t i = start; i < result.size(); ++i) {
        if (result[i] == '_') result[i] = ' ';
      }
    }
    at = escape;
    if (at < last) DecodeEscape(text, at, result);
  }
  if (at == last) result.push_back(text[last]);
  return true;
}

bool EncodeQuoted(std::string_view text, std::string& result, std::size_t resultSize,
                  bool stopAtLength, bool blankAsUnderscore) {
  result.clear();
  for (char c : EffectiveText(text, stopAtLength)) {
    bool encode = NeedsEncoding(c);
    if (result.size() + (encode ? 3 : 1) > resultSize) return false;
    if (encode) {
      AppendByte(c, result);
    } else {
      result.push_back(c == ' ' && blankAsUnderscore ? '_' : c);
    }
  }
  return true;
}

void EncodeQuotedPrintable(std::string_view text, std::string& result,
                           const QuotedPrintableForm& form) {
  result.clear();
  result.reserve(text.size() + text.size() / 8);
  std::size_t column = 0;
  for (char c : EffectiveText(text, form.stopAtLength)) {
    if (!form.encodeLineEnds && (c == '\r' || c == '\n')) {
      result.push_back(c);
      column = 0;
      continue;
    }
    bool encode = NeedsEncoding(c);
    std::size_t width = encode ? 3 : 1;
    if (form.lineLimit > 0 && column > 0 && column + width >= form.lineLimit) {
      result.append(form.softBreakWithBlank ? "=\r\n " : "=\r\n");
      column = 0;
    }
    if (encode) {
      AppendByte(c, result);
    } else {
      result.push_back(c == ' ' && form.blankAsUnderscore ? '_' : c);
    }
    column += width;
  }
}

}  // namespace corvane
