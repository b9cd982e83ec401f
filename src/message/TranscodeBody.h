// TranscodeBody.h -- a body from one transfer encoding into another.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

enum class TransferEncoding { kRaw, kBase64, kQuotedPrintable };

// Empty, 7bit, 8bit and binary are raw; blanks around a name don't count. Nothing for any other
// name.
[[nodiscard]] std::optional<TransferEncoding> ReadTransferEncoding(std::string_view name);

// Changes the encoding of `body` in place; both names in any case, an empty one means raw. Base64
// is written as one line, quoted-printable with lines below 72 columns and with line ends encoded.
// False, with `body` untouched, for an unknown name and for a body that doesn't decode. Any thread.
bool TranscodeBody(std::string& body, std::string_view from, std::string_view to);

}  // namespace corvane
