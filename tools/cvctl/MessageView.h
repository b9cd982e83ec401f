// MessageView.h -- a parsed message as cvctl shows it.
//
// Both views are written as they go, so that a message of any size takes no more memory than its
// own.
#pragma once

#include <string>

#include "message/MimeMessage.h"

namespace corvane::cvctl {

// What of a message's headers goes into an index, as UTF-8.
struct MessageSummary {
  std::string subject;
  std::string from;
  std::string to;
  std::string cc;
  std::string messageId;
  std::string date;      // "2023-01-03T08:05:07", or empty
  std::string received;  // the same; the date where no Received header gives one
};

[[nodiscard]] MessageSummary Summarise(const HeaderList& headers);

// Print on standard output. The message is loaded and normalised.
void PrintMessageJson(MimeMessage& message);
void PrintMessagePlain(MimeMessage& message);

}  // namespace corvane::cvctl
