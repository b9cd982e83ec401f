// NotifyMailboxClients.h -- tells connected clients that a mailbox has a new message.
#pragma once

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// For the message in the folder DeliveryFolder of the mailbox Account/User. Nothing unless `Remote
// Notification Mode` is 1.
void NotifyMailboxClients(const ConnectorMessage& message);

}  // namespace corvane
