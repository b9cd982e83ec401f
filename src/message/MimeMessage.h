// MimeMessage.h -- a whole message: read leniently, or built from parts.
//
// The message is one buffer; header block, parts and bodies are pieces of it, and nothing is
// decoded before somebody asks. Time and memory are linear in the message whatever it holds, and no
// message drives a recursion. An object is for one thread at a time.
//
// It accepts what arrives: missing headers, LF line ends (once normalised), broken structure, of
// which it keeps the parts read so far. It reports little and never throws for what a message
// holds.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "message/HeaderList.h"
#include "message/MimePart.h"
#include "message/Text.h"

namespace corvane {

// Entries of a part list, and levels of nesting, from which on a message counts as broken.
inline constexpr std::size_t kMaximumParts = 200;

class MimeMessage {
 public:
  MimeMessage() { HtmlPart.ContentType = Text::Literal("text/html"); }

  // Reads a message: `source` is the text, or with `fromFile` the product path of a file, which is
  // read whole. `normalise` brings LF line ends to CR LF. `locateParts` cuts the header block and
  // locates text and HTML part. False when the file can't be read; the message is empty then.
  bool Load(Text source, bool fromFile, bool normalise, bool locateParts);

  [[nodiscard]] bool HasText() const { return !RawText.empty(); }

  // Cuts the header block and parses it.
  void ParseHeaders(HeaderList& headerList, bool decode);

  // Fills the part list. With `keepStructure` containers, preambles and closing markers are entries
  // too. False on a broken structure: a marker or an empty line that is missing, more than
  // kMaximumParts entries or levels. The parts read so far stay in the list.
  bool ParseParts(bool keepStructure);

  // Copies the first ordinary text/plain or text/html part to TextPart or HtmlPart, after parsing
  // the parts if the list is empty. With `decode` the copy is decoded and recoded to UTF-8.
  void LocateTextPart(bool decode);
  void LocateHtmlPart(bool decode);

  // The decoded body of the text part, recoded from its charset when a target is given. Without
  // one, and with `fallback`, the HTML body turned into text; else empty. GetHtmlBody mirrors it.
  void GetTextBody(std::string& result, std::string_view targetCharset, bool fallback);
  void GetHtmlBody(std::string& result, std::string_view targetCharset, bool fallback);

  // Writes the raw text from HeaderBlock, TextPart, HtmlPart and AttachmentList.
  void Build();

  // "\r\n\r\n" or "\n\n", found in the raw text; "\r\n" or "\n"; and their lengths (0 when the
  // message has no empty line).
  std::uint32_t SeparatorLength = 4;
  std::uint32_t LineEndLength = 2;
  std::string HeaderSeparator = "\r\n\r\n";
  std::string LineEnd = "\r\n";
  MimePart TextPart;
  MimePart HtmlPart;
  Text RawText;
  Text HeaderBlock;  // without the separator
  std::optional<std::size_t> HeaderEnd;
  std::vector<MimePart> AttachmentList;
  std::vector<MimePart> PartList;
  HeaderList Headers;

 private:
  void DetectSeparators();
  void NormaliseLineEnds();
  void CutHeaderBlock();
  [[nodiscard]] const MimePart* FindPart(std::string_view contentType);
};

}  // namespace corvane
