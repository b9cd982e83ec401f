// MailboxCopy.h -- the stage of a delivery that puts the message file into the folder.
#pragma once

#include "connector/delivery/MailboxDelivery.h"

namespace corvane {

enum class CopyOutcome : std::uint8_t {
  kCopied,   // to the delivery's target
  kSettled,  // to the Inbox, at the second try: the delivery ends here as delivered
  kFailed    // the delivery ends here as failed; the message is elsewhere, as the log tells
};

// Sets the Return-Path header and copies the queue's message file to the target. When that fails:
// once more at once, to the Inbox (5 s later when the network was gone); then, when the network or
// somebody who holds the file is in the way, once more after 2 s under the name "G" + MessageID.
// What can't be placed at all goes to bad mail.
[[nodiscard]] CopyOutcome CopyToMailbox(MailboxDelivery& delivery);

}  // namespace corvane
