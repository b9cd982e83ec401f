// RedirectStage.h -- the stage of a delivery that sends a mailbox's mail elsewhere.
#pragma once

#include "connector/delivery/MailboxDelivery.h"

namespace corvane {

// Does what the mailbox's redirection asks for. False when nothing stays here: the message has been
// redirected, bounced or deleted.
[[nodiscard]] bool StaysHere(MailboxDelivery& delivery);

}  // namespace corvane
