#include "connector/delivery/FolderChoice.h"

#include <cstdlib>

#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "SERVICES/Library/LIBStore/FolderPaths.h"
#include "SERVICES/Library/LIBStore/StorePaths.h"
#include "SERVICES/Library/LIBWhitelisting/SenderLists.h"
#include "connector/delivery/FolderTransfer.h"
#include "connector/delivery/ParsedAddress.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"
#include "records/audit/AuditLog.h"

namespace corvane {
namespace {

constexpr std::size_t kOptionBytes = 1024;
constexpr const char* kJunkFolder = "\\Junk E-mail";
constexpr const char* kBulkFolder = "\\Bulk E-mail";
constexpr const char* kReceiptsFolder = "\\Inbox\\RMail Receipts";
constexpr const char* kContractsFolder = "\\Inbox\\RMail Contracts";

// `Deliver-To Status`.
enum DeliverTo : std::uint32_t { kInbox = 0, kJunk = 1, kAskPostoffice = 2 };

// A folder that is made here is marked, so that clients see that it has come.
void UseFolder(MailboxDelivery& delivery, const char* folder) {
  const std::string path = delivery.MailboxPath() + folder;
  if (!platform::DirectoryExists(path)) {
    static_cast<void>(platform::CreateDirectories(GetParentPath(path)));
    static_cast<void>(CreateStoreDirectory(path));
    if (platform::DirectoryExists(path)) {
      NoteNewDirectory(delivery.message, GetParentPath(path));
      NoteNewDirectory(delivery.message, path);
    }
  }
  delivery.folder = folder;
}

void TestSenderLists(MailboxDelivery& delivery) {
  if (platform::EqualsNoCase(delivery.message.CommandType, "NDR")) return;
  const MailboxRecord& record = delivery.record;
  if (IsSenderBlacklisted(delivery.sender, delivery.postoffice, record.Mailbox)) {
    if (DebugLevelAbove(8)) {
      LogDebugF(
          "[%s] DeliverToMailbox:: %s/%s, Sender=%s is mailbox blacklisted; Delivering to Junk.\n",
          delivery.Id(), delivery.postoffice.c_str(), record.Mailbox, delivery.sender.c_str());
    }
    delivery.blacklisted = true;
    delivery.flags.Junk = 1;
  }
  delivery.whitelisted = IsSenderWhitelisted(delivery.sender, delivery.postoffice, record.Mailbox);
}

void AuditSorted(const MailboxDelivery& delivery, std::string text, AuditCategory category) {
  if (!delivery.sender.empty()) text.append(" Sender [").append(delivery.sender).append("].");
  WriteAuditEntry(AuditCode::kSorted, delivery.postoffice, delivery.record.Mailbox, text,
                  kAuditSeverity, category);
}

void LogJunk(const MailboxDelivery& delivery, const char* what) {
  if (!DebugLevelAbove(8)) return;
  LogDebugF("[%s] DeliverToMailbox:: Junk message. %s\n", delivery.Id(), what);
}

// The junk switch of the postoffice, where it has one.
std::int32_t AskPostofficeForJunk(const MailboxDelivery& delivery) {
  LogJunk(delivery, "Checking postoffice level setting");
  char text[kOptionBytes] = {};
  if (GetPostofficeOption(delivery.postoffice.c_str(), "Delivery-DeliverToStatus", text,
                          sizeof(text)) != 1) {
    LogJunk(delivery, "No postoffice level setting. Delivering to inbox");
    return 0;
  }
  const std::int32_t junkSwitch = std::atoi(text);
  LogJunk(delivery, ("Postoffice level setting " + std::to_string(junkSwitch)).c_str());
  return junkSwitch;
}

std::int32_t JunkSwitch(const MailboxDelivery& delivery) {
  switch (settings::Get(settings::kDeliverToStatus)) {
    case kInbox:
      LogJunk(delivery, "Delivering to inbox folder");
      return 0;
    case kJunk:
      LogJunk(delivery, "Delivering to junk folder");
      return 1;
    case kAskPostoffice:
      return AskPostofficeForJunk(delivery);
    default:
      return 0;
  }
}

bool MailboxWantsBulkFolder(const MailboxDelivery& delivery) {
  char text[kOptionBytes] = {};
  return GetMailboxOption(delivery.postoffice.c_str(), delivery.record.Mailbox, "DeliverToBulk",
                          text, sizeof(text)) == 1 &&
         std::atoi(text) == 1;
}

void SortJunkAndBulk(MailboxDelivery& delivery) {
  const MessageFlags& flags = delivery.flags;
  if (flags.Junk != 0) {
    AuditSorted(delivery, "POSTOFFICE Message was detected as spam.", AuditCategory::kSpam);
    delivery.junkSwitch = JunkSwitch(delivery);
    if (delivery.junkSwitch != 0) UseFolder(delivery, kJunkFolder);
  } else if (settings::Get(settings::kDeliverToBulk) != 0 && (flags.Bulk != 0 || flags.List != 0) &&
             MailboxWantsBulkFolder(delivery)) {
    AuditSorted(delivery, "POSTOFFICE Message was detected as bulk/list.",
                AuditCategory::kDelivery);
    UseFolder(delivery, kBulkFolder);
  }
}

bool IsSentBy(const MailboxDelivery& delivery, const settings::TextSetting& address) {
  return !delivery.sender.empty() &&
         platform::EqualsNoCase(delivery.sender, settings::Get(address));
}

void SortRegisteredMail(MailboxDelivery& delivery) {
  if (settings::Get(settings::kRmailStatus) == 0) return;
  if (IsSentBy(delivery, settings::kRmailReceiptsSender)) {
    UseFolder(delivery, kReceiptsFolder);
  } else if (IsSentBy(delivery, settings::kRmailContractsSender)) {
    UseFolder(delivery, kContractsFolder);
  }
}

}  // namespace

void ChooseFolder(MailboxDelivery& delivery) {
  delivery.root = GetPostofficeRoot(delivery.postoffice);
  delivery.sender = SenderAddress(delivery.message.Sender);
  TestSenderLists(delivery);
  if (!delivery.whitelisted) SortJunkAndBulk(delivery);
  SortRegisteredMail(delivery);
  delivery.message.DeliveryFolder = delivery.folder;
  delivery.target = delivery.PathIn(delivery.folder, delivery.message.MessageID);
}

}  // namespace corvane
