// MailboxDelivery.h -- what the stages of one delivery into a mailbox share.
//
// It lives for one call of DeliverToMailbox and belongs to the message's worker.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "connector/delivery/MessageFlags.h"
#include "connector/queue/ConnectorMessage.h"

namespace corvane {

inline constexpr const char* kInboxFolder = "\\Inbox";
inline constexpr const char* kNoMailboxReason = "The mailbox is not available on this system";

struct MailboxDelivery {
  ConnectorMessage& message;
  const std::string& postoffice;
  const std::string& askedMailbox;  // record.Mailbox can become the overflow mailbox
  const std::string& recipientItem;

  MailboxRecord record{};
  MessageFlags flags{};
  std::string source{};  // the queue's message file
  std::uint32_t messageKb = 0;
  bool alsoRedirected = false;  // sent on, and a copy stays here

  std::string root{};    // of the postoffice
  std::string sender{};  // the address inside "[SMTP:...]", or empty
  std::string folder = kInboxFolder;
  std::int32_t junkSwitch = 0;
  bool blacklisted = false;  // the sender, by the mailbox
  bool whitelisted = false;
  std::string target{};          // the file in the folder
  std::int32_t rulesResult = 0;  // of the mailbox rules

  [[nodiscard]] const char* Id() const { return message.MessageID; }
  [[nodiscard]] std::string MailboxPath() const { return root + "\\MAILROOT\\" + record.Mailbox; }
  [[nodiscard]] std::string PathIn(std::string_view folderName, std::string_view file) const {
    return MailboxPath().append("\\").append(folderName).append("\\").append(file);
  }
};

// The log line for an item that the index didn't take; its next scan finds the file.
void LogInsertionPostponed(const MailboxDelivery& delivery, const std::string& folder);

}  // namespace corvane
