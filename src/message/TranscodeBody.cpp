#include "message/TranscodeBody.h"

#include "message/Ascii.h"
#include "message/Base64.h"
#include "message/QuotedPrintable.h"

namespace corvane {
namespace {

constexpr std::size_t kLineLimit = 72;

// An empty body is an empty text in every encoding.
bool Decode(std::string_view body, TransferEncoding from, std::string& result) {
  if (from == TransferEncoding::kBase64) return DecodeBase64(body, result);
  if (from == TransferEncoding::kQuotedPrintable) {
    return body.empty() || DecodeQuotedPrintable(body, result);
  }
  result.assign(body);
  return true;
}

}  // namespace

std::optional<TransferEncoding> ReadTransferEncoding(std::string_view name) {
  name = TrimBlanks(name);
  if (EqualsIgnoringCase(name, "base64")) return TransferEncoding::kBase64;
  if (EqualsIgnoringCase(name, "quoted-printable")) return TransferEncoding::kQuotedPrintable;
  for (std::string_view raw : {"", "7bit", "8bit", "binary"}) {
    if (EqualsIgnoringCase(name, raw)) return TransferEncoding::kRaw;
  }
  return std::nullopt;
}

bool TranscodeBody(std::string& body, std::string_view from, std::string_view to) {
  if (EqualsIgnoringCase(TrimBlanks(from), TrimBlanks(to))) return true;
  std::optional<TransferEncoding> source = ReadTransferEncoding(from);
  std::optional<TransferEncoding> target = ReadTransferEncoding(to);
  if (!source || !target) return false;
  if (*source == *target) return true;
  std::string raw;
  if (*source == TransferEncoding::kRaw) {
    raw = std::move(body);
  } else if (!Decode(body, *source, raw)) {
    return false;
  }
  if (*target == TransferEncoding::kRaw) {
    body = std::move(raw);
    return true;
  }
  body.clear();
  if (*target == TransferEncoding::kBase64) {
    EncodeBase64(raw, body);
  } else {
    EncodeQuotedPrintable(raw, body, {.lineLimit = kLineLimit, .encodeLineEnds = true});
  }
  return true;
}

}  // namespace corvane
