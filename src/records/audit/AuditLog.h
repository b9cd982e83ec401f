// AuditLog.h -- the trail of what became of messages, for administrators and mailbox owners.
#pragma once

#include <cstdint>
#include <string>

namespace corvane {

// The events that delivery writes.
enum class AuditCode : std::int32_t {
  kSorted = 14,         // detected as spam, bulk or list mail
  kMailboxRule = 15,    // a mailbox rule stopped the delivery
  kDeliveryEvent = 16,  // the delivery event removed the message
  kSpamSetting = 17,    // a spam setting of the mailbox removed the message
  kDelivered = 18,      // delivered, with the folder
  kSourceRemoved = 19,  // a filter removed the message before it could be copied
  kQuotaExceeded = 27   // refused for quota
};

enum class AuditCategory : std::int32_t { kDelivery = 7, kSpam = 8, kQuota = 11 };

inline constexpr std::int32_t kAuditSeverity = 5;

// One entry of a mailbox's trail; nothing unless `Status` of the auditing settings is 1. A failure
// never changes a delivery.
//
// The trail is not written yet: with auditing on, the debug log says so.
void WriteAuditEntry(AuditCode code, const std::string& postoffice, const std::string& mailbox,
                     const std::string& text, std::int32_t severity, AuditCategory category);

}  // namespace corvane
