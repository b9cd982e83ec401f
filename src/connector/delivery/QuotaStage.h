// QuotaStage.h -- the stage of a delivery that asks whether the mailbox has room.
#pragma once

#include "connector/delivery/MailboxDelivery.h"

namespace corvane {

// Whether the delivery goes on. A message that doesn't fit has been told to the mailbox and its
// sender, as the settings say, and is dropped, unless the overflow mailbox takes it: the record's
// mailbox is that one then, without a look-up or a test of its own.
[[nodiscard]] bool HasRoom(MailboxDelivery& delivery);

}  // namespace corvane
