// QuotedPrintable.h -- quoted-printable text of bodies, header words and cards, both ways.
//
// Encoded bytes are those below 32 and from 127 up, and '=', '?' and '_'. Any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvane {

// Decodes `text` into `result`. A '=' before a line end (CR LF or LF) vanishes with it, '=' and two
// hexadecimal digits of either case are a byte, any other '=' is dropped. The text's last character
// is copied as it stands unless it belongs to one of these. False for an empty text.
bool DecodeQuotedPrintable(std::string_view text, std::string& result,
                           bool underscoreIsBlank = false);

// Encodes `text` into `result`. With `stopAtLength` off the text also ends at its first NUL.
// False, with what fitted in `result`, when it would pass `resultSize` bytes.
bool EncodeQuoted(std::string_view text, std::string& result, std::size_t resultSize,
                  bool stopAtLength = true, bool blankAsUnderscore = false);

struct QuotedPrintableForm {
  bool stopAtLength = true;
  bool blankAsUnderscore = false;
  // Columns that a line doesn't reach; 0 sets no limit. A soft break is '=' CR LF.
  std::size_t lineLimit = 0;
  bool softBreakWithBlank = false;  // a blank behind each soft break
  bool encodeLineEnds = false;      // off: CR and LF stand and begin a new line
};

// Encodes `text` into `result`.
void EncodeQuotedPrintable(std::string_view text, std::string& result,
                           const QuotedPrintableForm& form = {});

}  // namespace corvane
