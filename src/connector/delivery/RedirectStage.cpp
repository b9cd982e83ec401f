#include "connector/delivery/RedirectStage.h"

#include "connector/delivery/GenerateNDR.h"
#include "connector/delivery/Redirection.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"

namespace corvane {
namespace {

constexpr const char* kBlockedReason =
    "The email could not be delivered since the final destination domain is blocked.";

enum RedirectStatus : std::int32_t { kNone = 0, kRedirectOnly = 1, kRedirectAndKeep = 2 };
// `Redirection Blacklist Action`.
enum BlacklistAction : std::uint32_t { kBounce = 1, kDelete = 2 };

// What the blacklist left of the mailbox's addresses.
struct Cleaned {
  std::uint32_t action = 0;
  std::string before;
  bool removedSome = false;
  bool removedAll = false;
};

Cleaned CleanAddresses(MailboxDelivery& delivery) {
  Cleaned cleaned;
  cleaned.action = settings::Get(settings::kRedirectionBlacklistAction);
  cleaned.before = delivery.record.RedirectAddress;
  if (static_cast<std::int32_t>(cleaned.action) <= 0) return cleaned;
  const bool removed = RemoveBlacklistedRedirects(delivery.record.RedirectAddress) != 0;
  cleaned.removedAll = removed && delivery.record.RedirectAddress[0] == '\0';
  cleaned.removedSome = removed && !cleaned.removedAll;
  return cleaned;
}

// The one line for a redirection of which nothing was left, and the bounce if that was asked for.
void ReportBlocked(MailboxDelivery& delivery, const Cleaned& cleaned, const char* domains) {
  if (cleaned.action == kBounce) {
    GenerateNDR(delivery.message, delivery.recipientItem, kBlockedReason);
  }
  if (cleaned.action != kBounce && cleaned.action != kDelete) return;
  LogDebugF(
      "[%s] Mailbox (%s) on postoffice (%s) redirection to (%s) %s since recipient %s is in "
      "redirection blacklist.\n",
      delivery.Id(), delivery.record.Mailbox, delivery.postoffice.c_str(), cleaned.before.c_str(),
      cleaned.action == kBounce ? "bounced" : "deleted", domains);
}

std::int32_t Redirect(MailboxDelivery& delivery, bool keepLocalCopy) {
  return RedirectMessage(delivery.message, delivery.record, delivery.flags, delivery.recipientItem,
                         delivery.postoffice, keepLocalCopy);
}

// False when the matter ends here; true when the mailbox takes the message after all.
bool RedirectOnly(MailboxDelivery& delivery) {
  const Cleaned cleaned = CleanAddresses(delivery);
  if (cleaned.removedSome) {
    LogDebugF(
        "[%s] Mailbox (%s) on postoffice (%s) could not be redirected to all recipient domain(s) "
        "due to redirection blacklist.\n",
        delivery.Id(), delivery.record.Mailbox, delivery.postoffice.c_str());
  }
  if (cleaned.removedAll && (cleaned.action == kBounce || cleaned.action == kDelete)) {
    ReportBlocked(delivery, cleaned, "domain(s)");
    return false;
  }
  const std::int32_t result = Redirect(delivery, false);
  if (result == kJunkNotRedirected || result == kRedirected) return false;
  LogDebugF("[%s] Message could not be redirected due to error. Delivering to mailbox.\n",
            delivery.Id());
  return true;
}

void RedirectAndKeepCopy(MailboxDelivery& delivery) {
  const Cleaned cleaned = CleanAddresses(delivery);
  if (cleaned.removedAll) {
    ReportBlocked(delivery, cleaned, "domain");
  } else {
    static_cast<void>(Redirect(delivery, true));
  }
  delivery.alsoRedirected = true;
}

}  // namespace

bool StaysHere(MailboxDelivery& delivery) {
  MailboxRecord& record = delivery.record;
  if (record.RedirectStatus != kNone && record.RedirectAddress[0] == '\0') {
    record.RedirectStatus = kNone;
  }
  const bool redirectOnly = record.RedirectStatus == kRedirectOnly;
  if (redirectOnly && !RedirectOnly(delivery)) return false;
  if (redirectOnly || record.RedirectStatus == kRedirectAndKeep) RedirectAndKeepCopy(delivery);
  return true;
}

}  // namespace corvane
