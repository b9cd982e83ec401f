#include "connector/queue/InboundCommandFile.h"

#include <vector>

#include "connector/logs/Logs.h"
#include "connector/queue/CommandSwitches.h"
#include "connector/queue/CommandText.h"
#include "connector/queue/Durability.h"
#include "connector/queue/QueuePaths.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"
#include "platform/Reports.h"

namespace corvane {
namespace {

constexpr const char* kUndelivered = "Undelivered";
// Bounces lie in this connector's queue, whichever one their message came by.
constexpr const char* kBounceConnector = "SF";

std::string CommandPath(const std::string& connectorDirectory, std::string_view name) {
  return connectorDirectory + "\\Inbound\\" + std::string(name);
}

std::string InboundCommandText(const ConnectorMessage& message) {
  std::string text;
  text.reserve(message.Recipients.size() + 1024);
  AppendLine(text, "Recipients=", message.Recipients);
  AppendLine(text, "Server=", message.Server);
  AppendLine(text, "Sender=", message.Sender);
  AppendLine(text, "TimeAcquired=", message.TimeAcquired);
  AppendLine(text, "ClientIP=", message.ClientIP);
  AppendLine(text, "AuthenticationStatus=", message.AuthenticationStatus);
  if (message.AuthenticationStatus != 0) AppendLine(text, "User=", message.User);
  if (DsnFlagsInUse()) AppendLine(text, "DSNFlags=", message.DSNFlags);
  if (PriorityInUse()) AppendLine(text, "Priority=", message.Priority);
  if (CampaignInUse()) AppendLine(text, "Campaign=", message.Campaign);
  AppendLine(text, "Account=", message.Account);
  AppendLine(text, "Status=", message.Status);
  AppendLine(text, "CommandType=", message.CommandType);
  AppendLine(text, "Subject=", message.Subject);
  return text;
}

std::string BounceCommandText(const ConnectorMessage& message) {
  std::string text;
  AppendLine(text, "CommandType=", message.CommandType);
  AppendLine(text, "Recipients=", message.Recipients);
  AppendLine(text, "Server=", message.Server);
  AppendLine(text, "Sender=", message.Sender);
  AppendLine(text, "TimeAcquired=", message.TimeAcquired);
  AppendLine(text, "NextSendTime=", message.TimeAcquired);
  AppendLine(text, "MessageID=", message.MessageID);
  AppendLine(text, "Status=", kUndelivered);
  return text;
}

void EmptyFields(ConnectorMessage& message) {
  message.Recipients.clear();
  SetText(message.Server, "");
  SetText(message.Sender, "");
  message.TimeAcquired = 0;
  SetText(message.ClientIP, "");
  message.AuthenticationStatus = 0;
  SetText(message.User, "");
  SetText(message.DSNFlags, "");
  SetText(message.Priority, "");
  SetText(message.Campaign, "");
  SetText(message.Account, "");
  SetText(message.Status, "");
  SetText(message.CommandType, "");
  SetText(message.Subject, "");
}

bool TakeRecipients(std::string_view line, ConnectorMessage& message) {
  const auto recipients = ValueOf(line, "Recipients=");
  if (recipients) message.Recipients.assign(*recipients);
  return recipients.has_value();
}

bool TakeEnvelope(std::string_view line, ConnectorMessage& message) {
  return TakeText(line, "Server=", message.Server) || TakeText(line, "Sender=", message.Sender) ||
         TakeNumber(line, "TimeAcquired=", message.TimeAcquired) ||
         TakeText(line, "ClientIP=", message.ClientIP) ||
         TakeNumber(line, "AuthenticationStatus=", message.AuthenticationStatus) ||
         TakeText(line, "Status=", message.Status);
}

bool TakeDescription(std::string_view line, ConnectorMessage& message) {
  return TakeText(line, "User=", message.User) || TakeText(line, "Priority=", message.Priority) ||
         TakeText(line, "Account=", message.Account) ||
         TakeText(line, "CommandType=", message.CommandType) ||
         TakeText(line, "Subject=", message.Subject) ||
         (DsnFlagsInUse() && TakeText(line, "DSNFlags=", message.DSNFlags)) ||
         (CampaignInUse() && TakeText(line, "Campaign=", message.Campaign));
}

// Fills the fields of `message`. False when the file can't be read.
bool ReadFields(platform::File& file, ConnectorMessage& message) {
  const auto text = file.ReadAll(kMaximumCommandFileBytes);
  if (!text) {
    platform::PrintConsole("Skipping File: Command file in write operation\n");
    return false;
  }
  LineWalker lines(*text);
  while (const auto line = lines.Next()) {
    if (!TakeRecipients(*line, message) && !TakeEnvelope(*line, message)) {
      TakeDescription(*line, message);
    }
  }
  return true;
}

// Without recipients and state it is somebody's file, but no command: its text would be lost.
bool IsCommand(const ConnectorMessage& message) {
  return !message.Recipients.empty() || message.Status[0] != '\0';
}

bool PutReset(platform::File& held, const std::string& path, ConnectorMessage& message) {
  SetText(message.Status, kUndelivered);
  SetText(message.Server, "");
  message.TimeAcquired = static_cast<std::int32_t>(platform::NowSeconds());
  return ReplaceCommandFile(held, path, InboundCommandText(message));
}

// All before the first rewrite: a walk may meet a file anew that was replaced under it.
std::vector<std::string> MessageNames(const std::string& connectorDirectory) {
  std::vector<std::string> names;
  platform::FileFinder finder(CommandPath(connectorDirectory, "*.MAI"));
  while (const auto found = finder.Next()) {
    if (!found->info.directory) names.push_back(found->name);
  }
  return names;
}

}  // namespace

std::int32_t WriteInboundCommandFile(const std::string& connectorDirectory,
                                     const ConnectorMessage& message) {
  return WriteCommandFile(CommandPath(connectorDirectory, message.MessageID),
                          InboundCommandText(message));
}

std::int32_t ReadInboundCommandFile(const std::string& connectorDirectory,
                                    ConnectorMessage& message) {
  EmptyFields(message);
  auto file = platform::File::Open(CommandPath(connectorDirectory, message.MessageID),
                                   platform::Access::kRead, platform::kShareAll,
                                   platform::Disposition::kOpenExisting);
  return file && ReadFields(file, message) ? 1 : 0;
}

std::int32_t WriteInboundNDRCommand(const ConnectorMessage& message) {
  return WriteCommandFile(CommandPath(ConnectorDirectory(kBounceConnector), message.MessageID),
                          BounceCommandText(message));
}

void RemoveInboundMessage(const std::string& connectorDirectory, std::string_view messageId) {
  const std::string command = CommandPath(connectorDirectory, messageId);
  static_cast<void>(platform::DeleteFile(command));
  if (platform::FileExists(command)) return;
  static_cast<void>(
      platform::DeleteFile(connectorDirectory + "\\Inbound\\Messages\\" + std::string(messageId)));
}

InboundReset ResetInboundCommandFile(const std::string& connectorDirectory,
                                     const std::string& name) {
  const std::string path = CommandPath(connectorDirectory, name);
  auto held = platform::File::Open(path, platform::Access::kReadWrite, platform::kShareNone,
                                   platform::Disposition::kOpenExisting);
  ConnectorMessage message;
  if (!held || !ReadFields(held, message)) return InboundReset::kFailed;
  if (!IsCommand(message)) {
    platform::SetLastError(platform::kErrorFileCorrupt);
    return InboundReset::kFailed;
  }
  if (platform::EqualsNoCase(message.Status, kUndelivered)) return InboundReset::kUndelivered;
  return PutReset(held, path, message) ? InboundReset::kReset : InboundReset::kFailed;
}

std::int32_t ResetInboundQueue(const InboundQueue& queue, const InboundResetListener& tell) {
  if (queue.Reset != 1) {
    LogDebugF("Bypassing Resetting Inbound Messages for %s\n", queue.DisplayName);
    return 0;
  }
  LogDebugF("Resetting messages in inbound queue for %s\n", queue.DisplayName);
  const std::vector<std::string> names = MessageNames(queue.ConnectorDirectory);
  if (names.empty()) {
    LogDebugF("No outgoing message files in inbound queue for %s\n", queue.DisplayName);
  }
  std::int32_t reset = 0;
  for (const std::string& name : names) {
    const InboundReset outcome = ResetInboundCommandFile(queue.ConnectorDirectory, name);
    if (outcome == InboundReset::kReset) ++reset;
    if (tell) tell(name, outcome);
  }
  LogDebugF("Reset %d messages out of %d in inbound queue for %s\n", reset,
            static_cast<int>(names.size()), queue.DisplayName);
  return reset;
}

}  // namespace corvane
