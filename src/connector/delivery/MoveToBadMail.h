// MoveToBadMail.h -- how a stage of delivery gives a message up to bad mail.
#pragma once

#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Moves the whole message to bad mail: recipients still to come find no source. What has been
// delivered before is made durable first, since the queue's files go; where that or the move fails
// the message is marked to stay in the queue.
void MoveToBadMail(ConnectorMessage& message, std::string_view reason);

// Keeps a copy there for a recipient who would lose the message otherwise; the queue's files serve
// the others.
void KeepCopyInBadMail(ConnectorMessage& message, std::string_view reason);

}  // namespace corvane
