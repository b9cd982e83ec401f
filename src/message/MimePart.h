// MimePart.h -- one body part of a message.
#pragma once

#include <cstdint>
#include <string_view>

#include "message/Text.h"

namespace corvane {

// What an entry of a part list stands for. A parse without keep-structure makes ordinary ones only.
enum class PartKind : std::uint32_t {
  kOrdinary = 0,
  kPreamble = 50,  // the text before the first boundary; its body
  kClosing = 100,  // a closing marker
  kLast = 200,     // the end of a multipart message; its body is what follows the last marker
};

struct MimePart {
  Text TransferEncoding;  // empty reads as 7Bit, and is what decoding leaves
  Text Charset;           // parameter `charset`
  Text Body;
  Text ContentType = Text::Literal("text/plain");  // without parameters
  Text HeaderText;                                 // raw headers up to the blank line
  Text Disposition;                                // Content-Disposition before its first ';'
  Text EnclosingBoundary;                          // of the parent
  Text Boundary;           // parameter `boundary`, without blanks at its end
  Text ContentIdentifier;  // Content-ID without '<' and '>'
  PartKind Kind = PartKind::kOrdinary;
  Text DisplayName;  // the best name for showing, in UTF-8
  Text Name;         // parameter `name`
  Text Filename;     // parameter `filename`
  std::uint32_t PartNumber = 0;
  std::uint32_t OriginalSize = 0;  // bytes of the body as parsed, before any decoding

  [[nodiscard]] bool IsMultipart() const;
};

// Reads the fields of a part from its header text, which lies in `buffer`.
void ReadPartHeaders(const Text& buffer, std::string_view headerText, MimePart& part);

// The body with its transfer encoding undone; as it stands when that fails or the encoding isn't
// known. `known` tells which.
[[nodiscard]] Text DecodedBody(const MimePart& part, bool* known = nullptr);

// Undoes the transfer encoding of the part in place, empties the field, then recodes the body to
// UTF-8 when the part names a charset, and says so in that field.
void DecodePart(MimePart& part);

// Sets the body from plain text in the given encoding. False for an unknown encoding: nothing
// changes.
bool SetPartBody(MimePart& part, std::string_view text,
                 std::string_view encoding = "quoted-printable");

}  // namespace corvane
