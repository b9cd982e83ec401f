#include "connector/delivery/MailboxSpamSettings.h"

#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"

namespace corvane {

std::int32_t ProcessMailboxSpamSettings(const MailboxRecord& mailbox, const MessageFlags&,
                                        const ConnectorMessage& message, const std::string&) {
  if (settings::Get(settings::kProcessMailboxSpamFilters) == 0) return 0;
  LogDebugF("[%s] This build has no spam settings; none ran for PO=%s MBX=%s.\n", message.MessageID,
            mailbox.Postoffice, mailbox.Mailbox);
  return 0;
}

}  // namespace corvane
