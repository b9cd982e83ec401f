#include "connector/delivery/DeliveryEvent.h"

#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"

namespace corvane {

std::int32_t ProcessDeliveryEvent(const MailboxRecord& mailbox, const MessageFlags&,
                                  const ConnectorMessage& message) {
  if (settings::Get(settings::kProcessMailboxEvents) == 0) return 0;
  LogDebugF("[%s] This build has no delivery events; none ran for PO=%s MBX=%s.\n",
            message.MessageID, mailbox.Postoffice, mailbox.Mailbox);
  return 0;
}

}  // namespace corvane
