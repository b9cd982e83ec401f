// PlainNDR.h -- the text of a bounce.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

struct PlainNDR {
  std::string target;    // where the message file is to stand
  std::string original;  // the message file that could not be delivered
  std::string from;      // addresses without brackets
  std::string to;
  std::string messageId;        // "<...@...>"
  std::string failedRecipient;  // an address item
  std::string_view reason;
};

// Writes the message file: header, reason, recipient and the original, or a word that it is gone.
// Whole and durable, or not at all: false then, with platform::LastError().
[[nodiscard]] bool WritePlainNDR(const PlainNDR& bounce);

}  // namespace corvane
