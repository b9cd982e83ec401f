#include "connector/queue/QueueStatistics.h"

#include "connector/logs/Logs.h"

namespace corvane {

std::int32_t WriteStatistic(const settings::DwordSetting& counter, std::uint32_t value) {
  static std::atomic<bool> told{false};
  if (settings::Get(settings::kUpdateStatistics) == 0) return 1;
  if (!settings::Note(counter, value) && !told.exchange(true)) {
    LogDebugF(
        "CV-IXXXX: Unable to save queue statistics for service. The service account may not have "
        "permission to write to the registry path %s, item %s\n",
        settings::WholeKey(counter.key), counter.name);
  }
  return 1;
}

void RunningTotal::Increment() {
  total_.fetch_add(1);
  std::uint32_t written = 0;
  do {
    const std::unique_lock lock(writing_, std::try_to_lock);
    if (!lock) return;
    written = total_.load();
    WriteStatistic(counter_, written);
  } while (written != total_.load());
}

RunningTotal& OutboundDeliveryAttempts() {
  static RunningTotal total(settings::kOutboundDeliveryAttempts);
  return total;
}

RunningTotal& OutboundDeliveryCount() {
  static RunningTotal total(settings::kOutboundDeliveryCount);
  return total;
}

RunningTotal& InboundDeliveryCount() {
  static RunningTotal total(settings::kInboundDeliveryCount);
  return total;
}

}  // namespace corvane
