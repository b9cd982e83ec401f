#include "connector/service/Worker.h"

#include <utility>

#include "connector/delivery/FolderTransfer.h"
#include "connector/delivery/ParsedAddress.h"
#include "connector/delivery/SFDeliver.h"
#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/queue/OutgoingCommandFile.h"
#include "connector/queue/QueuePaths.h"
#include "connector/queue/QueueStatistics.h"
#include "connector/service/WorkerPlaces.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"
#include "platform/Thread.h"

namespace corvane {
namespace {

constexpr const char* kDeliveringState = "Delivering";

// Whether every recipient was settled.
bool ServeRecipients(ConnectorMessage& message) {
  RecipientWalker recipients(message.Recipients);
  if (DebugLevelAbove(6)) {
    LogDebugF("Delivering %s to message store (%ld Recipients)\n", message.MessageID,
              static_cast<long>(recipients.Count()));
  }
  while (const auto item = recipients.Next()) {
    // A message that stays in the queue shares its file with no mailbox.
    message.LastRecipient = !recipients.HasMore() && !message.KeepInQueue;
    if (DeliverToRecipient(message, *item) != kStoreUnreachable) continue;
    if (DebugLevelAbove(5)) {
      LogDebug(
          "An error occurred connecting to the configuration store. You should review your "
          "connectivity to the configuration store (ODBC settings or permissions on CONFIG "
          "directory).\n");
    }
    return false;
  }
  return !message.KeepInQueue;
}

void DeliverClaimed(ClaimedMessage& claimed) {
  ConnectorMessage& message = claimed.message;
  if (!claimed.claim.Commit(kDeliveringState, claimed.serverName)) {
    LogDebugF("Unable to write the claim of message %s (error %d). It stays in the queue.\n",
              message.MessageID, platform::LastError());
    return;
  }
  const bool settled = ServeRecipients(message);
  if (!FlushDelivered(message)) {
    LogDebugF("Message %s could not be made durable (error %d). It stays in the queue.\n",
              message.MessageID, platform::LastError());
    return;
  }
  if (!settled) return;
  // Where the directory of the messages is away, on a share that isn't mounted, nobody has removed
  // the message: its command file waits for it.
  const std::string file = OutgoingMessagePath(message.Connector, message.MessageID);
  if (!platform::DirectoryExists(platform::ParentPath(file))) {
    LogDebugF("The directory of message %s is away. It stays in the queue.\n", message.MessageID);
    return;
  }
  OutboundDeliveryAttempts().Increment();
  OutboundDeliveryCount().Increment();
  DeleteOutgoingMessageFile(message);
  DeleteOutgoingCommandFile(message);
}

void ReportWorkerException(const ExceptionDetails& details) {
  constexpr const char* kService = "CVPOCS";
  if (details.kind == ExceptionDetails::Kind::kComError) {
    LogDebugQuietly(std::string(kService) +
                    ": WorkerThread handled a COM error and attempted to continue.\n" +
                    details.comCodeLines);
    return;
  }
  ReportException(std::string(kService) + ": WorkerThread handled an exception for thread " +
                  std::to_string(platform::CurrentThreadId()) + " and attempted to continue.\n");
}

// Gives the worker's place back at the end of its scope, after everything else of it.
class ActivePlace {
 public:
  ActivePlace() = default;
  ~ActivePlace() { LeavePlace(); }
  ActivePlace(const ActivePlace&) = delete;
  ActivePlace& operator=(const ActivePlace&) = delete;
};

}  // namespace

void WorkerThread(std::unique_ptr<ClaimedMessage> claimed) {
  const ActivePlace place;
  const std::unique_ptr<ClaimedMessage> own = std::move(claimed);
  EndException([&] { DeliverClaimed(*own); },
               [](const ExceptionDetails& details) {
                 // A report that can't be made, for want of memory, is left out.
                 EndException([&] { ReportWorkerException(details); },
                              [](const ExceptionDetails&) {});
               });
}

}  // namespace corvane
