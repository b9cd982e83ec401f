// ParseMessage.h -- reads a message file into the record that an index item is made of.
//
// Two readers. ParseMessageMime, the usual one, decodes header values to UTF-8 and looks at the
// body parts for attachments and invitations; it reads only the headers of a message that has
// neither. ParseMessageLines, in force while `New Indexing` is 0, takes the header lines as they
// stand. Both go on from what the record holds already, so a caller clears it first; both set
// ModifiedDate. They accept whatever a file holds and look at its header block alone where they
// can. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "SERVICES/Library/LIBMessageIndex/MessageHeaders.h"

namespace corvane {

// What `attachmentMode` asks of ParseMessageLines.
inline constexpr std::int32_t kVerifyAttachments = 2;

// Reads the message file `path`.
//
//   headers         Brand has to be set for a UID to be read from the file
//   clearFlags      Flags are emptied first (by lines only)
//   branding        an X-UID line of Brand gives UID (by lines only)
//   attachmentMode  2: a message that claims attachments is read on until one is met (by lines
//                   only)
//   ignoreRead      X-Read doesn't count (by lines only)
//
// 1  read
// 0  the file can't be read or has no headers; the record is not to be used
[[nodiscard]] std::int32_t ParseMessage(std::string_view path, MessageHeaders& headers,
                                        bool clearFlags, bool branding, std::int32_t attachmentMode,
                                        bool ignoreRead);

[[nodiscard]] std::int32_t ParseMessageMime(std::string_view path, MessageHeaders& headers);
[[nodiscard]] std::int32_t ParseMessageLines(std::string_view path, MessageHeaders& headers,
                                             bool clearFlags, bool branding,
                                             std::int32_t attachmentMode, bool ignoreRead);

// What both readers make of values.

// A header date as YYYY-MM-DDThh:mm:ss; empty when it can't be read.
[[nodiscard]] std::string NormalisedDate(std::string_view date);
// The date behind the first "; " of a Received header, in the same form; empty without one.
[[nodiscard]] std::string ReceivedDate(std::string_view value);
// The importance that an X-Priority value asks for.
[[nodiscard]] std::int32_t ReadImportance(std::string_view value);
// `text` with blanks for its NULs, which no text of an item can hold.
[[nodiscard]] std::string WithoutNul(std::string text);

}  // namespace corvane
