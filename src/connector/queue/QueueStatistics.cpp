#include "connector/queue/QueueStatistics.h"

#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "connector/settings/SettingsSource.h"

namespace corvane {

std::int32_t WriteStatistic(const char* key, const char* name, std::uint32_t value) {
  static std::atomic<bool> told{false};
  if (settings::Get(settings::kUpdateStatistics) == 0) return 1;
  if (settings::WriteSettingDword(key, name, value) != 1 && !told.exchange(true)) {
    LogDebugF(
        "CV-IXXXX: Unable to save queue statistics for service. The service account may not have "
        "permission to write to the registry path %s, item %s\n",
        key, name);
  }
  return 1;
}

void RunningTotal::Increment() { WriteStatistic(kConnectorKey, name_, total_.fetch_add(1) + 1); }

RunningTotal& OutboundDeliveryAttempts() {
  static RunningTotal total("Outbound Delivery Attempts");
  return total;
}

RunningTotal& OutboundDeliveryCount() {
  static RunningTotal total("Outbound Delivery Count");
  return total;
}

}  // namespace corvane
