#include "connector/queue/OutgoingCommandFile.h"

#include <string>

#include "CLIENTS/CVMAPI/CVMSLIB/common/FileManagement.h"
#include "connector/queue/CommandSwitches.h"
#include "connector/queue/CommandText.h"
#include "connector/queue/Durability.h"
#include "connector/queue/QueuePaths.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"
#include "platform/Reports.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

bool TakeEnvelope(std::string_view line, ConnectorMessage& message) {
  return TakeText(line, "DomainName=", message.DomainName) ||
         TakeText(line, "Sender=", message.Sender) ||
         TakeNumber(line, "Retries=", message.Retries) ||
         TakeNumber(line, "NextSendTime=", message.NextSendTime) ||
         TakeNumber(line, "TimeAcquired=", message.TimeAcquired) ||
         TakeNumber(line, "AuthenticationStatus=", message.AuthenticationStatus) ||
         TakeText(line, "Status=", message.Status);
}

bool TakeDescription(std::string_view line, ConnectorMessage& message) {
  return TakeText(line, "ClientIP=", message.ClientIP, 63) ||
         TakeText(line, "Subject=", message.Subject) ||
         TakeText(line, "Priority=", message.Priority) ||
         TakeText(line, "Account=", message.Account) ||
         TakeText(line, "CommandType=", message.CommandType) ||
         (DsnFlagsInUse() && TakeText(line, "DSNFlags=", message.DSNFlags)) ||
         (CampaignInUse() && TakeText(line, "Campaign=", message.Campaign));
}

std::string CommandText(const ConnectorMessage& message) {
  std::string text;
  text.reserve(message.Recipients.size() + 1024);
  AppendLine(text, "Recipients=", message.Recipients);
  AppendLine(text, "Server=", message.Server);
  AppendLine(text, "Sender=", message.Sender);
  AppendLine(text, "Retries=", message.Retries);
  AppendLine(text, "NextSendTime=", message.NextSendTime);
  AppendLine(text, "TimeAcquired=", message.TimeAcquired);
  AppendLine(text, "AuthenticationStatus=", message.AuthenticationStatus);
  AppendLine(text, "MessageID=", message.MessageID);
  if (DsnFlagsInUse()) AppendLine(text, "DSNFlags=", message.DSNFlags);
  if (CampaignInUse()) AppendLine(text, "Campaign=", message.Campaign);
  AppendLine(text, "AccountName=", message.Account);
  AppendLine(text, "ClientIP=", message.ClientIP);
  AppendLine(text, "Priority=", message.Priority);
  AppendLine(text, "Status=", message.Status);
  return text;
}

}  // namespace

bool ParseOutgoingCommandText(std::string_view text, ConnectorMessage& message) {
  bool recipientsSeen = false;
  LineWalker lines(text);
  while (const auto line = lines.Next()) {
    if (const auto recipients = ValueOf(*line, "Recipients=")) {
      message.Recipients.assign(*recipients);
      recipientsSeen = true;
    } else if (!TakeEnvelope(*line, message)) {
      TakeDescription(*line, message);
    }
  }
  return recipientsSeen;
}

std::int32_t ReadOutgoingCommandFile(ConnectorMessage& message) {
  auto file = platform::File::Open(OutgoingCommandPath(message.Connector, message.MessageID),
                                   platform::Access::kRead, platform::kShareAll,
                                   platform::Disposition::kOpenExisting);
  if (!file) return 0;
  const auto text = file.ReadAll(kMaximumCommandFileBytes);
  if (!text) {
    platform::PrintConsole("Error reading command file\n");
    return 0;
  }
  return ParseOutgoingCommandText(*text, message) ? 1 : 0;
}

std::int32_t WriteOutgoingCommandFile(const ConnectorMessage& message) {
  const std::string path = OutgoingCommandPath(message.Connector, message.MessageID);
  return WriteCommandFile(path, CommandText(message));
}

std::int32_t DeleteOutgoingMessageFile(const ConnectorMessage& message) {
  return RetryDeleteFile(OutgoingMessagePath(message.Connector, message.MessageID)) ? 1 : 0;
}

std::int32_t DeleteOutgoingCommandFile(const ConnectorMessage& message) {
  return RetryDeleteFile(OutgoingCommandPath(message.Connector, message.MessageID)) ? 1 : 0;
}

}  // namespace corvane
