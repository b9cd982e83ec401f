#include "message/MimeMessage.h"

#include <algorithm>

#include "message/Ascii.h"
#include "message/Html.h"
#include "message/LineEnds.h"
#include "message/Recode.h"
#include "platform/File.h"

namespace corvane {
namespace {

constexpr std::string_view kText = "text/plain";
constexpr std::string_view kHtml = "text/html";

[[nodiscard]] std::optional<std::string> ReadWholeFile(std::string_view path) {
  platform::File file = platform::File::Open(path, platform::Access::kRead, platform::kShareAll,
                                             platform::Disposition::kOpenExisting);
  if (!file) return std::nullopt;
  return file.ReadAll();
}

// The body decoded, and recoded when a target and the part's charset are known.
void ReadBody(const MimePart& part, std::string_view targetCharset, std::string& result) {
  Text body = DecodedBody(part);
  if (targetCharset.empty() || part.Charset.empty()) {
    result.assign(body.View());
  } else {
    RecodeText(part.Charset, body, result, targetCharset);
  }
}

}  // namespace

bool MimeMessage::Load(Text source, bool fromFile, bool normalise, bool locateParts) {
  *this = MimeMessage();
  if (fromFile) {
    std::optional<std::string> content = ReadWholeFile(source);
    if (!content) return false;
    RawText = std::move(*content);
  } else {
    RawText = std::move(source);
  }
  DetectSeparators();
  if (normalise) NormaliseLineEnds();
  if (locateParts) {
    CutHeaderBlock();
    LocateTextPart(false);
    LocateHtmlPart(false);
  }
  return true;
}

void MimeMessage::DetectSeparators() {
  std::string_view text = RawText;
  std::size_t end = text.find("\r\n\r\n");
  bool crLf = end != text.npos;
  if (!crLf) end = text.find("\n\n");
  bool found = end != text.npos;
  HeaderEnd = found ? std::optional(end) : std::nullopt;
  HeaderSeparator = crLf ? "\r\n\r\n" : "\n\n";
  LineEnd = crLf ? "\r\n" : "\n";
  SeparatorLength = !found ? 0 : crLf ? 4 : 2;
  LineEndLength = SeparatorLength / 2;
}

void MimeMessage::NormaliseLineEnds() {
  if (SeparatorLength != 2) return;
  RawText = WithCrLf(RawText);
  DetectSeparators();
}

void MimeMessage::CutHeaderBlock() {
  HeaderBlock = RawText.Piece(RawText.View().substr(0, HeaderEnd.value_or(RawText.size())));
}

void MimeMessage::ParseHeaders(HeaderList& headerList, bool decode) {
  CutHeaderBlock();
  headerList.Parse(HeaderBlock, decode);
}

const MimePart* MimeMessage::FindPart(std::string_view contentType) {
  if (PartList.empty()) ParseParts(false);
  auto part = std::find_if(PartList.begin(), PartList.end(), [&](const MimePart& candidate) {
    return candidate.Kind == PartKind::kOrdinary &&
           EqualsIgnoringCase(candidate.ContentType, contentType);
  });
  return part == PartList.end() ? nullptr : &*part;
}

void MimeMessage::LocateTextPart(bool decode) {
  const MimePart* part = FindPart(kText);
  if (part == nullptr) return;
  TextPart = *part;
  if (decode) DecodePart(TextPart);
}

void MimeMessage::LocateHtmlPart(bool decode) {
  const MimePart* part = FindPart(kHtml);
  if (part == nullptr) return;
  HtmlPart = *part;
  if (decode) DecodePart(HtmlPart);
}

void MimeMessage::GetTextBody(std::string& result, std::string_view targetCharset, bool fallback) {
  result.clear();
  if (TextPart.Body.empty()) LocateTextPart(false);
  if (!TextPart.Body.empty()) return ReadBody(TextPart, targetCharset, result);
  if (!fallback) return;
  if (HtmlPart.Body.empty()) LocateHtmlPart(false);
  ReadBody(HtmlPart, targetCharset, result);
  StripHtml(result);
}

void MimeMessage::GetHtmlBody(std::string& result, std::string_view targetCharset, bool fallback) {
  result.clear();
  if (HtmlPart.Body.empty()) LocateHtmlPart(false);
  if (!HtmlPart.Body.empty()) return ReadBody(HtmlPart, targetCharset, result);
  if (!fallback) return;
  if (TextPart.Body.empty()) LocateTextPart(false);
  ReadBody(TextPart, targetCharset, result);
  EscapeText(result);
}

}  // namespace corvane
