#include "SERVICES/Library/LIBRPCNotify/RemoteNotification.h"

#include <memory>
#include <string>

#include "connector/logs/Logs.h"
#include "connector/settings/SettingsSource.h"
#include "platform/Error.h"
#include "platform/HeldLibrary.h"

namespace corvane {
namespace {

using NotifyRemoteCall = std::int32_t(const char* server, const char* protocol, const char* text);

// Never destroyed: workers may still signal while the process ends.
platform::HeldLibrary& notificationLibrary = *new platform::HeldLibrary;

NotifyRemoteCall* FindEntry(const platform::Library& library) {
  return library.Find<NotifyRemoteCall>("NotifyRemote");
}

void Report(const std::string& text) {
  ReportToEventLog(kReportInformation, kReportSource, "", kConnectorEventId, text);
}

}  // namespace

std::int32_t BindRemoteNotification() {
  if (!notificationLibrary.Hold()) {
    char directory[1024];
    settings::GetLibraryDirectory(directory, sizeof directory);
    if (!notificationLibrary.Load(directory, kNotificationProvider)) {
      Report(
          "Notification Library CVAINFY.DLL could not be loaded. RPC notifications cannot be "
          "processed\n");
      return 0;
    }
  }
  const auto library = notificationLibrary.Hold();
  if (library && FindEntry(*library) != nullptr) return 1;
  Report(
      "Unable to find NotifyRemote entrypoint in CVAINFY.DLL. RPC notifications cannot be "
      "processed. Return Code: " +
      std::to_string(platform::LastError()) + "\n");
  return 0;
}

bool IsRemoteNotificationBound() {
  const auto library = notificationLibrary.Hold();
  return library && FindEntry(*library) != nullptr;
}

void UnbindRemoteNotification() { notificationLibrary.Unload(); }

std::int32_t NotifyRemote(const char* server, const char* protocol, const char* text) {
  const auto library = notificationLibrary.Hold();
  if (!library) return 0;
  NotifyRemoteCall* entry = FindEntry(*library);
  return entry == nullptr ? 0 : entry(server, protocol, text);
}

}  // namespace corvane
