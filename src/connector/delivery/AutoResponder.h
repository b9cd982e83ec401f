// AutoResponder.h -- a mailbox's automatic answer.
#pragma once

#include <cstdint>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "connector/delivery/MessageFlags.h"
#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Answers the sender for the mailbox, if it has an answer and the message may have one.
//
// Autoresponders are not built yet: the call says so in the debug log and sends nothing.
std::int32_t ProcessAutoResponder(const ConnectorMessage& message, const MessageFlags& flags,
                                  const MailboxRecord& mailbox);

}  // namespace corvane
