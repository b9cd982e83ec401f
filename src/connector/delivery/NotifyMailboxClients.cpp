#include "connector/delivery/NotifyMailboxClients.h"

#include "SERVICES/Library/LIBAppNotify/NotificationStream.h"
#include "SERVICES/Library/LIBAppNotify/NotifyClients.h"
#include "SERVICES/Library/LIBStore/StorePaths.h"
#include "connector/settings/Settings.h"

namespace corvane {
namespace {

constexpr std::int32_t kNoPort = -1;
constexpr std::int32_t kAllConnections = 0;
constexpr std::int32_t kUpToItsEnd = -1;

}  // namespace

void NotifyMailboxClients(const ConnectorMessage& message) {
  if (settings::Get(settings::kRemoteNotificationMode) != 1) return;
  const std::string folder =
      message.DeliveryFolder.empty() ? std::string("\\Inbox") : message.DeliveryFolder;
  const std::string directory = GetPostofficeRoot(message.Account) + "\\MAILROOT\\" + message.User;
  const std::string stream = BuildNotificationStream(
      {"NEW", "MSG", message.Account, message.User, folder, "", message.MessageID});
  NotifyClients(&message, directory, "", "", kNoPort, "", kAllConnections, folder, "", nullptr, 0,
                stream.c_str(), kUpToItsEnd);
}

}  // namespace corvane
