#include "records/audit/AuditLog.h"

#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"

namespace corvane {

void WriteAuditEntry(AuditCode, const std::string& postoffice, const std::string& mailbox,
                     const std::string& text, std::int32_t, AuditCategory) {
  if (settings::Get(settings::kAuditingStatus) != 1) return;
  LogDebugF("This build has no audit trail. %s/%s: %s\n", postoffice.c_str(), mailbox.c_str(),
            text.c_str());
}

}  // namespace corvane
