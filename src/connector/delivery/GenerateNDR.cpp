#include "connector/delivery/GenerateNDR.h"

#include "CLIENTS/CVMAPI/CVMSLIB/common/Identifiers.h"
#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "SERVICES/Library/LIBBadMail/BadMail.h"
#include "connector/delivery/MessageTemplates.h"
#include "connector/delivery/MoveToBadMail.h"
#include "connector/delivery/ParsedAddress.h"
#include "connector/delivery/PlainNDR.h"
#include "connector/delivery/SmtpRoute.h"
#include "connector/logs/Logs.h"
#include "connector/queue/InboundCommandFile.h"
#include "connector/queue/QueuePaths.h"
#include "connector/queue/QueueStatistics.h"
#include "connector/queue/ReadHeaderValue.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr std::int32_t kSettled = 1;
constexpr std::int32_t kNoBounce = 0;
constexpr std::uint32_t kNoNdr = 1;
constexpr std::size_t kItemBytes = 511;
constexpr std::size_t kAutoSubmittedBytes = 20;
constexpr std::int32_t kAutoSubmittedLines = 1000;
constexpr const char* kBounceConnector = "SF";
constexpr const char* kNoSmtpProvider = "NOBOUNCE, Bounce needs the SMTP provider";

std::string SmtpItem(const std::string& address) {
  return ("[SMTP:" + address + "]").substr(0, kItemBytes);
}

bool IsAutomaticReply(const ConnectorMessage& message) {
  std::string value;
  return ReadHeaderValue(OutgoingMessagePath(message.Connector, message.MessageID),
                         "Auto-Submitted:", value, kAutoSubmittedBytes, kAutoSubmittedLines) &&
         platform::EqualsNoCase(value, "auto-replied");
}

// The original stays as it is for the recipients still to come.
ConnectorMessage BounceOf(const ConnectorMessage& message) {
  ConnectorMessage bounce = message.Derive();
  SetText(bounce.MessageID, NewMessageId());
  SetText(bounce.Server, "");
  return bounce;
}

// The copy goes back to where it came from.
void Address(ConnectorMessage& bounce, std::string_view senderAddress) {
  std::string domain;
  std::string address;
  ResolveSmtpRoute(senderAddress, domain, address);
  bounce.Recipients = SmtpItem(address);
}

// The queue keeps a message that nobody could be told about. What was written of its bounce goes.
std::int32_t KeepUntold(ConnectorMessage& message, const ConnectorMessage& bounce) {
  message.KeepInQueue = true;
  LogDebugF("[%s] Its bounce could not be written (error %d). The message stays in the queue.\n",
            message.MessageID, platform::LastError());
  RemoveInboundMessage(ConnectorDirectory(kBounceConnector), bounce.MessageID);
  return kNoBounce;
}

bool BuildFromTemplate(const PlainNDR& text) {
  std::string failed;
  if (!ParsedAddress::Parse(text.failedRecipient).ToInternetAddress(failed) || failed.empty()) {
    failed = text.failedRecipient;
  }
  return BuildTemplateMessage(
             "BounceMailbox",
             {{"[CV_REASON]", std::string(text.reason)}, {"[CV_FAILEDRECIPIENT]", failed}},
             text.original, text.target, text.from, text.to, text.messageId) == 1;
}

bool WriteMessageFile(const PlainNDR& text) {
  if (settings::Get(settings::kBounceMime) != 0 && BuildFromTemplate(text)) return true;
  return WritePlainNDR(text);
}

std::int32_t QueueBounce(ConnectorMessage& message, ConnectorMessage& bounce,
                         const PlainNDR& text) {
  if (!WriteMessageFile(text)) return KeepUntold(message, bounce);
  SetText(bounce.Priority, "Normal");
  SetText(bounce.Status, "Unsent");
  bounce.Retries = 0;
  SetText(bounce.CommandType, "NDR");
  if (WriteInboundNDRCommand(bounce) != 1) return KeepUntold(message, bounce);
  if (settings::Get(settings::kUpdateStatistics) != 0) InboundDeliveryCount().Increment();
  return kSettled;
}

}  // namespace

std::int32_t GenerateNDR(ConnectorMessage& message, const std::string& recipientItem,
                         std::string_view reasonText) {
  if (settings::NdrGenerationMode(message.AuthenticationStatus) == kNoNdr) {
    LogDebugF("[%s] was deleted as NDRs disabled.\n", message.MessageID);
    return kSettled;
  }
  ConnectorMessage bounce = BounceOf(message);
  LogDebugF(
      "[%s] caused a Bounce Message to be generated with a Message ID of [%s] when sending to: "
      "%s\n",
      message.MessageID, bounce.MessageID, recipientItem.c_str());
  const std::string sender(BounceAddress(message.Sender));
  Address(bounce, sender);
  if (!IsProviderLoaded(kSmtpProvider)) {
    KeepCopyInBadMail(message, kNoSmtpProvider);
    return kNoBounce;
  }
  const std::string from = PostmasterForBounce(message, sender);
  const std::string fromItem = SmtpItem(from);
  if (platform::EqualsNoCase(message.Sender, fromItem) || IsAutomaticReply(message)) {
    MoveToBadMail(message, kBadMailPostmasterLoop);
    return kSettled;
  }
  SetText(bounce.Sender, fromItem);
  return QueueBounce(
      message, bounce,
      {InboundMessagePath(kBounceConnector, bounce.MessageID),
       OutgoingMessagePath(message.Connector, message.MessageID), from, sender,
       std::string("<") + bounce.MessageID + "@" + settings::Get(settings::kLocalDomainName) + ">",
       recipientItem, reasonText});
}

}  // namespace corvane
