#include "connector/delivery/Redirection.h"

#include "connector/delivery/KeepInQueue.h"

namespace corvane {

std::int32_t RemoveBlacklistedRedirects(RedirectList&) { return 0; }

std::int32_t RedirectMessage(ConnectorMessage& message, const MailboxRecord& mailbox,
                             const MessageFlags&, const std::string&, const std::string&, bool) {
  KeepInQueue(message, "redirection", mailbox.RedirectAddress);
  return kRedirected;
}

}  // namespace corvane
