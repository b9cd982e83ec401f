#include "connector/delivery/AutoResponder.h"

#include "connector/logs/Logs.h"

namespace corvane {

std::int32_t ProcessAutoResponder(const ConnectorMessage& message, const MessageFlags&,
                                  const MailboxRecord& mailbox) {
  LogDebugF("[%s] This build has no autoresponders; PO=%s MBX=%s answers nobody.\n",
            message.MessageID, mailbox.Postoffice, mailbox.Mailbox);
  return 0;
}

}  // namespace corvane
