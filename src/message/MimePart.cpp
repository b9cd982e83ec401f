#include "message/MimePart.h"

#include <algorithm>
#include <optional>

#include "message/Ascii.h"
#include "message/Base64.h"
#include "message/EncodedWords.h"
#include "message/HeaderText.h"
#include "message/Parameters.h"
#include "message/QuotedPrintable.h"
#include "message/Recode.h"
#include "message/TranscodeBody.h"

namespace corvane {
namespace {

// The lines of a folded value put together. The white space of a fold goes, but inside a quoted
// string it is one blank: a boundary or a file name with a blank may be folded there.
std::string JoinLines(std::string_view raw) {
  std::string joined;
  bool quoted = false;
  for (std::size_t at = 0; at < raw.size();) {
    std::size_t end = std::min(FindByte(raw, '\n', at), raw.size());
    std::string_view line = raw.substr(at, end - at);
    if (line.ends_with('\r')) line.remove_suffix(1);
    bool folded = at > 0 && !line.empty() && IsBlankOrTab(line[0]);
    while (folded && !line.empty() && IsBlankOrTab(line[0])) line.remove_prefix(1);
    if (folded && quoted) joined.push_back(' ');
    joined += line;
    quoted = quoted != (std::count(line.begin(), line.end(), '"') % 2 != 0);
    at = end + 1;
  }
  return joined;
}

// The joined value of a header; a piece of the buffer when it isn't folded.
Text HeaderValue(const Text& buffer, std::string_view headerText, std::string_view name) {
  std::string_view raw = FindRawHeader(headerText, name);
  if (FindByte(raw, '\n') == raw.npos) return buffer.Piece(raw);
  return JoinLines(raw);
}

// A piece of `value` without copying it.
Text FieldOf(const Text& value) { return value.Piece(FirstField(value)); }

// The value of a header up to its first ';' or line end.
Text ShortValue(const Text& buffer, std::string_view headerText, std::string_view name) {
  std::string_view raw = FindRawHeader(headerText, name);
  return buffer.Piece(TrimBlanks(raw.substr(0, raw.find_first_of(";\r\n"))));
}

Text OrEmpty(std::optional<std::string> text) { return text ? Text(std::move(*text)) : Text(); }

// What the value says by the extended form, else by the plain one.
std::optional<std::string> AnyForm(std::string_view value, std::string_view name) {
  std::optional<std::string> text = FindExtendedParameter(value, name, false);
  return text ? text : FindParameter(value, name);
}

Text ForShowing(const Text& name) {
  return name.View().starts_with("=?") ? Text(DecodeEncodedWordsToUtf8(name)) : name;
}

// The names that one Content-Type or Content-Disposition value gives.
void ReadNames(std::string_view value, MimePart& part) {
  if (FindByte(value, ';') == value.npos) return;
  if (std::optional<std::string> filename = AnyForm(value, "filename")) {
    part.Filename = std::move(*filename);
    if (part.DisplayName.empty()) part.DisplayName = ForShowing(part.Filename);
  } else if (std::optional<std::string> name = FindParameter(value, "name")) {
    part.Name = std::move(*name);
    if (part.DisplayName.empty()) part.DisplayName = ForShowing(part.Name);
  }
  if (!part.DisplayName.empty()) return;
  if (std::optional<std::string> joined = FindExtendedParameter(value, "name", true)) {
    part.Name = std::move(*joined);
    part.DisplayName = part.Name;
  }
}

std::string WithoutAngles(std::string_view identifier) {
  std::string result(identifier);
  std::erase_if(result, [](char c) { return c == '<' || c == '>'; });
  return result;
}

std::string_view WithoutTrailingBlanks(std::string_view text) {
  while (!text.empty() && IsBlankOrTab(text.back())) text.remove_suffix(1);
  return text;
}

void ReadContentType(const Text& value, MimePart& part) {
  Text type = FieldOf(value);
  if (!type.empty()) part.ContentType = type;
  if (FindByte(value, ';') == std::string_view::npos) return;
  Text boundary = OrEmpty(AnyForm(value, "boundary"));
  part.Boundary = boundary.Piece(WithoutTrailingBlanks(boundary));
  part.Charset = OrEmpty(AnyForm(value, "charset"));
}

}  // namespace

bool MimePart::IsMultipart() const { return ContainsIgnoringCase(ContentType, "multipart/"); }

void ReadPartHeaders(const Text& buffer, std::string_view headerText, MimePart& part) {
  part.HeaderText = buffer.Piece(headerText);
  Text type = HeaderValue(buffer, headerText, "Content-Type");
  ReadContentType(type, part);
  ReadNames(type, part);
  Text disposition = HeaderValue(buffer, headerText, "Content-Disposition");
  part.Disposition = FieldOf(disposition);
  ReadNames(disposition, part);
  part.TransferEncoding = ShortValue(buffer, headerText, "Content-Transfer-Encoding");
  Text identifier = ShortValue(buffer, headerText, "Content-ID");
  if (!identifier.empty()) part.ContentIdentifier = WithoutAngles(identifier);
}

Text DecodedBody(const MimePart& part, bool* known) {
  std::optional<TransferEncoding> encoding = ReadTransferEncoding(part.TransferEncoding);
  bool decoded = encoding.has_value();
  Text result = part.Body;
  if (decoded && *encoding != TransferEncoding::kRaw && !part.Body.empty()) {
    std::string bytes;
    decoded = *encoding == TransferEncoding::kBase64 ? DecodeBase64(part.Body, bytes)
                                                     : DecodeQuotedPrintable(part.Body, bytes);
    if (decoded) result = std::move(bytes);
  }
  if (known != nullptr) *known = decoded;
  return result;
}

void DecodePart(MimePart& part) {
  bool known = false;
  part.Body = DecodedBody(part, &known);
  if (known) part.TransferEncoding = {};
  if (part.Charset.empty()) return;
  std::string recoded;
  if (!RecodeText(part.Charset, part.Body, recoded)) return;
  part.Body = std::move(recoded);
  part.Charset = "UTF-8";
}

bool SetPartBody(MimePart& part, std::string_view text, std::string_view encoding) {
  std::string body(text);
  if (!TranscodeBody(body, "", encoding)) return false;
  part.Body = std::move(body);
  part.TransferEncoding = Text(encoding);
  return true;
}

}  // namespace corvane
