#include "connector/delivery/MoveToBadMail.h"

#include "SERVICES/Library/LIBBadMail/BadMail.h"
#include "connector/delivery/FolderTransfer.h"
#include "connector/logs/Logs.h"
#include "connector/queue/QueuePaths.h"
#include "platform/Error.h"

namespace corvane {

void MoveToBadMail(ConnectorMessage& message, std::string_view reason) {
  // A message that must stay for another recipient leaves a copy behind, not a hole.
  if (message.KeepInQueue) {
    KeepCopyInBadMail(message, reason);
    return;
  }
  if (!FlushDelivered(message)) {
    message.KeepInQueue = true;
    LogDebugF("Message %s could not be made durable (error %d). It stays in the queue.\n",
              message.MessageID, platform::LastError());
    return;
  }
  SystemOutboundMoveToBadMail(OutgoingDirectory(message.Connector), message, reason);
}

void KeepCopyInBadMail(ConnectorMessage& message, std::string_view reason) {
  SystemOutboundCopyToBadMail(OutgoingDirectory(message.Connector), message, reason);
}

}  // namespace corvane
