#include "connector/service/StartReports.h"

#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "connector/settings/SettingsCheck.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/SettingsStore.h"

namespace corvane {
namespace {

void ReportTrouble(const std::string& line) {
  LogDebug(line + "\n");
  ReportToEventLog(kReportError, kReportSource, "", kConnectorEventId, line + "\n");
}

}  // namespace

void ReportSettings() {
  auto& store = platform::SettingsStore::Default();
  for (const std::string& line : settings::CheckSettings(store)) {
    LogDebug("Settings: " + line + "\n");
  }
  if (store.Readable()) return;
  ReportTrouble("The settings can't be read: " + store.ErrorText() +
                ". Defaults count. Name the store in CORVANE_SETTINGS, make one with 'cvctl init', "
                "or give this service the right to read it.");
}

void ReportQueue(const std::string& directory) {
  if (platform::DirectoryExists(directory)) return;
  ReportTrouble("The outbound queue " + directory +
                " can't be found: " + platform::ErrorText(platform::LastError()) +
                " Make the directory, or set 'Connector Root Directory' of CONNECTORS. Each sweep "
                "looks for it again.");
}

void LogTimings() {
  const auto interval = static_cast<long>(settings::Get(settings::kOutgoingPollInterval));
  const auto threads = static_cast<long>(settings::Get(settings::kMaximumPickupThreads));
  const auto delay = static_cast<long>(settings::Get(settings::kOutboundPollDelay));
  LogDebugF(
      "Outbound Poll Interval: %ld seconds. (Outbound message queue will be polled every %ld "
      "seconds for new messages after a queue sweep)\n",
      interval, interval);
  LogDebugF(
      "Max Send Theads: %ld threads. (Postoffice Connector will deliver up to %ld messages at a "
      "time)\n",
      threads, threads);
  LogDebugF(
      "Outbound Poll Delay: %ld milliseconds. (Postoffice Connector will wait for %ld milliseconds "
      "after each queue sweep.)\n",
      delay, delay);
}

}  // namespace corvane
