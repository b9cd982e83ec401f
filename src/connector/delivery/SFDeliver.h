// SFDeliver.h -- decides what one recipient of a message is, and passes it on.
//
// Called by the message's worker for each item of its Recipients list, in order.
#pragma once

#include <cstdint>
#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

inline constexpr std::int32_t kStoreUnreachable = -1;

// Serves one recipient item: a mailbox, a group, a disabled postoffice or group, or a corrupt
// address.
//
// -1     the configuration store can't be reached; the walk has to stop and leave the queue files
// other  the recipient is settled: delivered, bounced, moved to bad mail or dropped with a log line
//
// Names that can't be a name on disk (Path.h, IsSafeName) or are longer than a name can be
// (postoffice 127, mailbox 63, group 255 bytes) are never handed to a provider or made into a path:
// such a recipient is returned to the sender like one without a mailbox.
[[nodiscard]] std::int32_t DeliverToRecipient(ConnectorMessage& message,
                                              std::string_view recipientItem);

}  // namespace corvane
