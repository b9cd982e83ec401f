// MailboxLookup.h -- the first stages of a delivery: is the message still there, and is there a
// mailbox for it?
#pragma once

#include "connector/delivery/MailboxDelivery.h"

namespace corvane {

// Whether the queue's message file is still there after the postoffice rules; waits `Message Check
// Delay` milliseconds for it.
[[nodiscard]] bool IsSourceThere(const MailboxDelivery& delivery);

// Asks the provider for the mailbox. False when there is none: the message has been bounced. Throws
// when the provider says that it can't know.
[[nodiscard]] bool FindMailbox(MailboxDelivery& delivery);

// Whether the mailbox is enabled; otherwise the message has been bounced.
[[nodiscard]] bool IsMailboxEnabled(MailboxDelivery& delivery);

// In KB, one begun: a file of 1,024 bytes counts as 2, an empty one as 1.
void ReadMessageSize(MailboxDelivery& delivery);

}  // namespace corvane
