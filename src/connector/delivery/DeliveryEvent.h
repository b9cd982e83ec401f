// DeliveryEvent.h -- a mailbox's command that runs on each delivered message.
#pragma once

#include <cstdint>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "connector/delivery/MessageFlags.h"
#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Runs the command on the delivered copy. 1 when one ran, else 0. Nothing unless `Process Mailbox
// Events` is set.
//
// Commands are not run yet: with the setting on, the debug log says so.
std::int32_t ProcessDeliveryEvent(const MailboxRecord& mailbox, const MessageFlags& flags,
                                  const ConnectorMessage& message);

}  // namespace corvane
