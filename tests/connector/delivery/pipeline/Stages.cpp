#include "tests/connector/delivery/pipeline/Stages.h"

#include <cstdio>
#include <filesystem>

#include "SERVICES/Library/LIBAppNotify/NotifyClients.h"
#include "SERVICES/Library/LIBBadMail/BadMail.h"
#include "SERVICES/Library/LIBWhitelisting/SenderLists.h"
#include "connector/delivery/AutoResponder.h"
#include "connector/delivery/ClassifyMessage.h"
#include "connector/delivery/DeliverToGroup.h"
#include "connector/delivery/DeliveryEvent.h"
#include "connector/delivery/GenerateDSN.h"
#include "connector/delivery/GenerateNDR.h"
#include "connector/delivery/MailboxSpamSettings.h"
#include "connector/delivery/QuotaNotices.h"
#include "connector/delivery/Redirection.h"
#include "connector/logs/Logs.h"
#include "connector/queue/QueuePaths.h"
#include "connector/settings/ConnectorSettings.h"
#include "filter/ProcessScopedFilters.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"
#include "records/audit/AuditLog.h"

namespace corvane {

test::Stages test::stages;

namespace {

using test::stages;

void Tell(const std::string& call) { LogDebug("> " + call + "\n"); }
void TellUsual(const std::string& call) {
  if (stages.tellAll) Tell(call);
}

std::string NameOf(const MailboxRecord& mailbox) {
  return std::string(mailbox.Postoffice) + "/" + mailbox.Mailbox;
}

std::string TargetOf(const ConnectorMessage& message, const MailboxRecord& mailbox) {
  return settings::MailRoot() + "\\" + mailbox.Postoffice + "\\MAILROOT\\" + mailbox.Mailbox +
         message.DeliveryFolder + "\\" + message.MessageID;
}

}  // namespace

std::int32_t ProcessScopedFilters(const char* postoffice, const char* mailbox, const char*,
                                  char* resultText, std::size_t resultSize) {
  Tell(std::string("Rules ") + postoffice + (mailbox == nullptr ? "" : "/") +
       (mailbox == nullptr ? "" : mailbox));
  if (stages.duringRules) stages.duringRules();
  std::snprintf(resultText, resultSize, "last line");
  return mailbox == nullptr ? stages.postofficeRules : stages.mailboxRules;
}

std::int32_t ClassifyMessage(const ConnectorMessage& message, const std::string& messagePath,
                             MessageFlags& flags, std::uint32_t junkSetting) {
  const bool queue = messagePath == OutgoingMessagePath(message.Connector, message.MessageID);
  TellUsual(std::string("Classify ") + (queue ? "queue " : "copy ") + std::to_string(junkSetting));
  flags = stages.flags;
  return 1;
}

std::int32_t ProcessAutoResponder(const ConnectorMessage&, const MessageFlags&,
                                  const MailboxRecord& mailbox) {
  Tell("AutoResponder " + NameOf(mailbox));
  return 0;
}

std::int32_t RemoveBlacklistedRedirects(RedirectList& redirectAddress) {
  Tell(std::string("RemoveBlacklistedRedirects ") + redirectAddress);
  if (!stages.redirectsRemoved) return 0;
  SetText(redirectAddress, stages.redirectsLeft);
  stages.redirectsRemoved = false;  // they are gone now
  return 1;
}

std::int32_t RedirectMessage(ConnectorMessage&, const MailboxRecord& mailbox, const MessageFlags&,
                             const std::string& recipientItem, const std::string& postoffice,
                             bool keepLocalCopy) {
  Tell(std::string("Redirect ") + mailbox.RedirectAddress + " for " + recipientItem + " of " +
       postoffice + (keepLocalCopy ? ", copy kept" : ""));
  return stages.redirected;
}

std::int32_t NotifyMailboxOfQuota(ConnectorMessage&, const MailboxRecord& mailbox) {
  Tell("NotifyMailboxOfQuota " + NameOf(mailbox));
  return 1;
}

std::int32_t NotifySenderOfQuota(ConnectorMessage&, const MailboxRecord& mailbox) {
  Tell("NotifySenderOfQuota " + NameOf(mailbox));
  return 1;
}

bool SenderIsMailboxListed(std::string_view sender, const std::string& postoffice,
                           const std::string& mailbox, const char* listName, MatchMode, ListLevel) {
  TellUsual(std::string(listName) + " " + std::string(sender) + " " + postoffice + "/" + mailbox);
  return platform::EqualsNoCase(listName, kWhitelist) ? stages.whitelisted : stages.blacklisted;
}

std::int32_t ProcessDeliveryEvent(const MailboxRecord& mailbox, const MessageFlags&,
                                  const ConnectorMessage& message) {
  TellUsual("DeliveryEvent " + NameOf(mailbox));
  if (stages.eventRemovesFile)
    std::filesystem::remove(platform::SystemPath(TargetOf(message, mailbox)));
  return stages.deliveryEvent;
}

std::int32_t ProcessMailboxSpamSettings(const MailboxRecord& mailbox, const MessageFlags&,
                                        const ConnectorMessage&,
                                        const std::string& deliveryFolder) {
  TellUsual("SpamSettings " + NameOf(mailbox) + " " + deliveryFolder);
  return stages.spamSettings;
}

std::int32_t NotifyClients(const ConnectorMessage*, const std::string& directory,
                           const std::string&, const std::string&, std::int32_t port,
                           const std::string&, std::int32_t filterMode, const std::string& folder,
                           const std::string&, const char*, std::int32_t, const char* remoteData,
                           std::int32_t) {
  const std::string stream(remoteData);
  Tell("NotifyClients " + directory + " " + folder + " " + std::to_string(port) + " " +
       std::to_string(filterMode) + " " + stream.substr(0, stream.find('\r')));
  return 1;
}

void WriteAuditEntry(AuditCode code, const std::string& postoffice, const std::string& mailbox,
                     const std::string& text, std::int32_t severity, AuditCategory category) {
  Tell("Audit " + std::to_string(static_cast<int>(code)) + " " + postoffice + "/" + mailbox + " " +
       std::to_string(static_cast<int>(category)) + "." + std::to_string(severity) + " " + text);
}

std::int32_t GenerateNDR(ConnectorMessage&, const std::string& recipientItem,
                         std::string_view reasonText) {
  Tell("NDR " + recipientItem + " " + std::string(reasonText));
  return 1;
}

std::int32_t SystemOutboundMoveToBadMail(const std::string& queueDirectory, ConnectorMessage&,
                                         std::string_view reason) {
  Tell("BadMail " + queueDirectory + " " + std::string(reason));
  return 1;
}

std::int32_t SystemOutboundCopyToBadMail(const std::string& queueDirectory, ConnectorMessage&,
                                         std::string_view reason) {
  Tell("BadMailCopy " + queueDirectory + " " + std::string(reason));
  return 1;
}

std::int32_t GenerateDSN(const ConnectorMessage&, const MailboxRecord& mailbox, DsnKind) {
  TellUsual("DSN " + NameOf(mailbox));
  return stages.dsn;
}

std::int32_t DeliverToGroup(ConnectorMessage&, std::string_view recipientItem) {
  Tell("Group " + std::string(recipientItem));
  return stages.group;
}

}  // namespace corvane
