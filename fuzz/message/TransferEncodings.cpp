// TransferEncodings.cpp -- quoted-printable, Base64 and percent encoding: what is encoded comes
// back.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <tuple>

#include "message/Base64.h"
#include "message/PercentDecode.h"
#include "message/QuotedPrintable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  std::string encoded;
  std::string decoded;
  corvane::EncodeQuotedPrintable(
      text, encoded,
      {.lineLimit = static_cast<std::size_t>(data[0] & 127), .encodeLineEnds = data[0] >= 128});
  if (!corvane::DecodeQuotedPrintable(encoded, decoded) || decoded != text) std::abort();
  encoded.clear();
  corvane::EncodeBase64(text, encoded);
  if (!corvane::DecodeBase64(encoded, decoded) || decoded != text) std::abort();
  corvane::DecodeQuotedPrintable(text, decoded, true);
  if (decoded.size() > text.size()) std::abort();
  corvane::DecodeBase64(text, decoded);
  if (decoded.size() > text.size()) std::abort();
  std::ignore = corvane::PercentDecode(text);
  return 0;
}
