#include "connector/delivery/QuotaStage.h"

#include <algorithm>

#include "connector/delivery/QuotaNotices.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Format.h"
#include "platform/Path.h"
#include "records/audit/AuditLog.h"

namespace corvane {
namespace {

constexpr std::uint32_t kNoQuota = UINT32_MAX;

// The quota is printed unsigned for a mailbox that also redirects, signed otherwise.
std::string QuotaText(const MailboxDelivery& delivery) {
  const std::uint32_t limit = delivery.record.Limit;
  return delivery.alsoRedirected ? std::to_string(limit)
                                 : std::to_string(static_cast<std::int32_t>(limit));
}

void LogCheck(const MailboxDelivery& delivery) {
  if (!DebugLevelAbove(6)) return;
  LogDebugF(
      "[%s] Checking message of size %dKb for mailbox (%s) on postoffice (%s) with quota of %sKb "
      "(current size %luKb).\n",
      delivery.Id(), static_cast<int>(delivery.messageKb), delivery.record.Mailbox,
      delivery.postoffice.c_str(), QuotaText(delivery).c_str(),
      static_cast<unsigned long>(delivery.record.Size));
}

void ReportExceeded(const MailboxDelivery& delivery) {
  const std::string line = platform::FormatText(
      "[%s] Message of size %dKb for mailbox (%s) on postoffice (%s) would exceed mailbox quota of "
      "%sKb (current size %luKb).",
      delivery.Id(), static_cast<int>(delivery.messageKb), delivery.record.Mailbox,
      delivery.postoffice.c_str(), QuotaText(delivery).c_str(),
      static_cast<unsigned long>(delivery.record.Size));
  LogDebug(line + "\n");
  if (delivery.alsoRedirected) return;
  WriteAuditEntry(AuditCode::kQuotaExceeded, delivery.postoffice, delivery.record.Mailbox, line,
                  kAuditSeverity, AuditCategory::kQuota);
}

void UseOverflowMailbox(MailboxDelivery& delivery) {
  std::string mailbox = settings::Get(settings::kOverflowMailbox);
  mailbox.resize(std::min(mailbox.size(), sizeof(delivery.record.Mailbox) - 1));
  if (!platform::IsSafeName(mailbox)) {
    LogDebugF("[%s] Overflow Mailbox (%s) is a name that no mailbox can have; %s is used.\n",
              delivery.Id(), mailbox.c_str(), settings::kOverflowMailbox.defaultValue);
    mailbox = settings::kOverflowMailbox.defaultValue;
  }
  SetText(delivery.record.Mailbox, mailbox);
}

}  // namespace

bool HasRoom(MailboxDelivery& delivery) {
  const MailboxRecord& record = delivery.record;
  LogCheck(delivery);
  if (record.Limit == kNoQuota || record.Size + delivery.messageKb <= record.Limit) return true;
  ReportExceeded(delivery);
  static_cast<void>(NotifyMailboxOfQuota(delivery.message, record));
  if (delivery.flags.Bulk != 1) {
    static_cast<void>(NotifySenderOfQuota(delivery.message, record));
  }
  if (settings::Get(settings::kPostmasterReceivesMailWhenQuotaExceeded) != 1) return false;
  UseOverflowMailbox(delivery);
  return true;
}

}  // namespace corvane
