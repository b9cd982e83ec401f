// MessageBuilder.cpp -- writes a message from its parts.
#include "message/HeaderText.h"
#include "message/Html.h"
#include "message/MimeMessage.h"
#include "message/TranscodeBody.h"

namespace corvane {
namespace {

constexpr std::string_view kMixed = "_ABC_MIXED";
constexpr std::string_view kAlternate = "_ABC_ALTERNATE";
constexpr std::string_view kCrLf = "\r\n";

// The header block with this Content-Type and without an end of its last line.
std::string WithContentType(std::string_view headerBlock, std::string_view type) {
  std::string block(headerBlock);
  if (!block.empty() && !block.ends_with(kCrLf)) block += kCrLf;
  AddHeaderToText(block, "Content-Type:", type);
  block.resize(block.size() - kCrLf.size());
  return block;
}

// The HTML part that a text part stands in for.
MimePart HtmlFromText(const MimePart& text) {
  std::string html = DecodedBody(text).String();
  EscapeText(html);
  MimePart part;
  part.ContentType = "text/html";
  SetPartBody(part, html);
  return part;
}

class Builder {
 public:
  explicit Builder(const MimeMessage& message) : message_(message) {}

  std::string Write() {
    bool hasBody = !message_.TextPart.Body.empty() || !message_.HtmlPart.Body.empty();
    bool multipart = hasBody || !message_.AttachmentList.empty();
    out_ = WithContentType(message_.HeaderBlock,
                           multipart ? "multipart/mixed; boundary=\"_ABC_MIXED\"" : "text/plain");
    out_ += message_.HeaderSeparator;
    if (!multipart) return std::move(out_);
    if (hasBody) WriteAlternatives();
    for (const MimePart& attachment : message_.AttachmentList) WriteAttachment(attachment);
    WriteMarker(kMixed, "--");
    return std::move(out_);
  }

 private:
  void WriteMarker(std::string_view boundary, std::string_view closing = {}) {
    out_.append("--").append(boundary).append(closing).append(message_.LineEnd);
  }

  void WriteAlternatives() {
    WriteMarker(kMixed);
    out_.append("Content-Type: multipart/alternative; boundary=\"_ABC_ALTERNATE\"");
    out_ += message_.HeaderSeparator;
    bool hasText = !message_.TextPart.Body.empty();
    if (hasText) WriteAlternative(message_.TextPart);
    bool hasHtml = !message_.HtmlPart.Body.empty();
    WriteAlternative(hasHtml ? message_.HtmlPart : HtmlFromText(message_.TextPart));
    WriteMarker(kAlternate, "--");
  }

  void WriteAlternative(const MimePart& part) {
    WriteMarker(kAlternate);
    std::string_view encoding = part.TransferEncoding;
    if (encoding.empty()) encoding = "7Bit";
    out_.append("Content-Type: ").append(part.ContentType).append("; charset=\"utf-8\"");
    out_.append(message_.LineEnd);
    out_.append("Content-Transfer-Encoding: ").append(encoding);
    out_.append(message_.LineEnd).append(message_.LineEnd);
    out_.append(part.Body).append(message_.LineEnd);
  }

  void WriteAttachment(const MimePart& part) {
    WriteMarker(kMixed);
    out_.append(part.HeaderText).append(message_.HeaderSeparator).append(part.Body);
    out_.append(message_.LineEnd).append(message_.LineEnd);
  }

  const MimeMessage& message_;
  std::string out_;
};

}  // namespace

void MimeMessage::Build() {
  RawText = Builder(*this).Write();
  PartList.clear();
  DetectSeparators();
  CutHeaderBlock();
}

}  // namespace corvane
