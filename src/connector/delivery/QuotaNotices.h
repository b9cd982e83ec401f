// QuotaNotices.h -- tells a full mailbox, and who wrote to it, that a message was refused.
#pragma once

#include <cstdint>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Places a notice in the mailbox. 1 when it did, else 0.
//
// Notices are not built yet: where one is due that would be the only trace of the message, both
// calls say so in the debug log and keep the message in the queue.
std::int32_t NotifyMailboxOfQuota(ConnectorMessage& message, const MailboxRecord& mailbox);

// Sends a notice to the sender. Always 1.
std::int32_t NotifySenderOfQuota(ConnectorMessage& message, const MailboxRecord& mailbox);

}  // namespace corvane
