// CopyWithReceivedLine.h -- the copy of a message that delivery sends on.
#pragma once

#include <cstdint>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Copies the message file of `message` from the outbound queue to that of `newMessage` in the
// inbound queue, with "Received: with Corvane Postoffice Connector; <date>" as its first line. Both
// are text files. The new file appears whole or not at all. When either won't open nothing more
// happens and the caller goes on.
std::int32_t CopyWithReceivedLine(const ConnectorMessage& message,
                                  const ConnectorMessage& newMessage);

}  // namespace corvane
