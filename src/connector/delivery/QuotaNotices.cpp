#include "connector/delivery/QuotaNotices.h"

#include "connector/delivery/KeepInQueue.h"
#include "connector/settings/Settings.h"

namespace corvane {
namespace {

// `Quota Exceeded Notification Mode`.
enum Notify : std::uint32_t { kBoth = 1, kSenderOnly = 2, kMailboxOnly = 3 };

void KeepUnlessTaken(ConnectorMessage& message, const MailboxRecord& mailbox, Notify only) {
  const std::uint32_t mode = settings::Get(settings::kQuotaExceededNotificationMode);
  const bool overflow = settings::Get(settings::kPostmasterReceivesMailWhenQuotaExceeded) == 1;
  if ((mode == kBoth || mode == only) && !overflow) {
    KeepInQueue(message, "quota notices", mailbox.Mailbox);
  }
}

}  // namespace

std::int32_t NotifyMailboxOfQuota(ConnectorMessage& message, const MailboxRecord& mailbox) {
  KeepUnlessTaken(message, mailbox, kMailboxOnly);
  return 0;
}

std::int32_t NotifySenderOfQuota(ConnectorMessage& message, const MailboxRecord& mailbox) {
  KeepUnlessTaken(message, mailbox, kSenderOnly);
  return 1;
}

}  // namespace corvane
