#include "connector/delivery/DeliverToMailbox.h"

#include <stdexcept>
#include <string_view>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "SERVICES/Library/LIBStore/StorePaths.h"
#include "connector/delivery/AddressHelpers.h"
#include "connector/delivery/FolderTransfer.h"
#include "connector/delivery/GenerateNDR.h"
#include "connector/delivery/KeepInQueue.h"
#include "connector/delivery/ParsedAddress.h"
#include "connector/delivery/ProvidersAreGone.h"
#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/queue/QueuePaths.h"
#include "connector/queue/SetMessageHeader.h"
#include "connector/settings/Settings.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr const char* kInbox = "\\Inbox";
constexpr const char* kNoMailbox = "The mailbox is not available on this system";

// What the steps of one delivery share.
struct Delivery {
  ConnectorMessage& message;
  const std::string& postoffice;
  const std::string& recipientItem;
  MailboxRecord record{};
  std::string source{};
  std::string root{};
  std::string folder = kInbox;
  std::uint32_t messageKb = 0;

  [[nodiscard]] std::string MailboxPath() const { return root + "\\MAILROOT\\" + record.Mailbox; }
  [[nodiscard]] std::string InFolder(std::string_view name, std::string_view file) const {
    return MailboxPath().append("\\").append(name).append("\\").append(file);
  }
};

void PrepareRecord(Delivery& delivery, const std::string& mailbox) {
  MailboxRecord& record = delivery.record;
  SetText(record.Postoffice, delivery.postoffice);
  SetText(record.Mailbox, mailbox);
  record.RedirectStatus = -1;
  record.Status = -1;
  record.Limit = UINT32_MAX;
  record.Size = UINT32_MAX - 1;
}

bool SourceIsThere(const Delivery& delivery) {
  if (platform::FileExists(delivery.source)) return true;
  LogDebugF("[%s] Message does not exist after postoffice level filter for PO=%s.\n",
            delivery.message.MessageID, delivery.postoffice.c_str());
  return false;
}

// A provider may leave a text without its end.
void EndTexts(MailboxRecord& record) {
  record.Postoffice[sizeof(record.Postoffice) - 1] = '\0';
  record.Mailbox[sizeof(record.Mailbox) - 1] = '\0';
  record.RedirectAddress[sizeof(record.RedirectAddress) - 1] = '\0';
}

// Whether the answer says nothing of the mailbox: the shipped library lost its store, or the stop
// has unloaded the library.
bool StoreIsOutOfReach(const MailboxRecord& record, std::int32_t result) {
  if (result == -1 && record.Status == kMailboxStoreUnreachable) return true;
  return result == 0 && ProvidersAreGone();
}

bool FindMailbox(Delivery& delivery) {
  if (DebugLevelAbove(10)) {
    LogDebugF("[%s] Getting mailbox details.\n", delivery.message.MessageID);
  }
  const std::int32_t result = MailboxGet(delivery.record);
  EndTexts(delivery.record);
  if (StoreIsOutOfReach(delivery.record, result)) {
    throw std::runtime_error("the configuration store can't be reached");
  }
  if (result != 0) return true;
  LogDebugF("[%s] Mailbox (%s) could not be found on postoffice (%s) and message bounced.\n",
            delivery.message.MessageID, delivery.record.Mailbox, delivery.postoffice.c_str());
  GenerateNDR(delivery.message, delivery.recipientItem, kNoMailbox);
  return false;
}

void ReadMessageSize(Delivery& delivery) {
  if (DebugLevelAbove(10)) {
    LogDebugF("[%s] Reading message size.\n", delivery.message.MessageID);
  }
  const auto info = platform::GetFileInfo(delivery.source);
  delivery.messageKb = info ? static_cast<std::uint32_t>(info->size / 1024 + 1) : 1;
}

bool MailboxIsEnabled(Delivery& delivery) {
  if (delivery.record.Status == 1) return true;
  LogDebugF(
      "[%s] Mailbox (%s) on postoffice (%s) either no longer exists or is disabled. The message "
      "has "
      "been returned to sender.\n",
      delivery.message.MessageID, delivery.record.Mailbox, delivery.postoffice.c_str());
  GenerateNDR(delivery.message, delivery.recipientItem, kNoMailbox);
  return false;
}

// Whether the mailbox keeps its own mail. Redirection is not built yet; such a message stays in the
// queue.
bool StaysHere(Delivery& delivery) {
  MailboxRecord& record = delivery.record;
  if (settings::Get(settings::kRedirectionEnabled) == 1 || record.RedirectAddress[0] == '\0') {
    record.RedirectStatus = 0;
  }
  if (record.RedirectStatus != 1 && record.RedirectStatus != 2) return true;
  KeepInQueue(delivery.message, "redirection", record.RedirectAddress);
  return false;
}

bool FitsQuota(Delivery& delivery) {
  const MailboxRecord& record = delivery.record;
  if (DebugLevelAbove(6)) {
    LogDebugF(
        "[%s] Checking message of size %dKb for mailbox (%s) on postoffice (%s) with quota of %dKb "
        "(current size %luKb).\n",
        delivery.message.MessageID, static_cast<int>(delivery.messageKb), record.Mailbox,
        delivery.postoffice.c_str(), static_cast<int>(record.Limit),
        static_cast<unsigned long>(record.Size));
  }
  if (record.Limit == UINT32_MAX || record.Size + delivery.messageKb <= record.Limit) return true;
  LogDebugF(
      "[%s] Message of size %dKb for mailbox (%s) on postoffice (%s) would exceed mailbox quota of "
      "%dKb (current size %luKb).\n",
      delivery.message.MessageID, static_cast<int>(delivery.messageKb), record.Mailbox,
      delivery.postoffice.c_str(), static_cast<int>(record.Limit),
      static_cast<unsigned long>(record.Size));
  KeepInQueue(delivery.message, "quota notices", delivery.recipientItem);
  return false;
}

void WriteReturnPath(Delivery& delivery) {
  const std::string_view sender = SenderAddress(delivery.message.Sender);
  const bool none = platform::EqualsNoCase(delivery.message.CommandType, "NDR") ||
                    platform::EqualsNoCase(sender, PostmasterAddress());
  const std::string path = none ? "<>" : std::string("<").append(sender).append(">");
  if (SetMessageHeader(delivery.message, "Return-Path", path, false, true) != 1) {
    LogDebugF("[%s] The Return-Path header could not be written (error %d).\n",
              delivery.message.MessageID, platform::LastError());
  }
}

// The first copy has failed: the mailbox may lack its Inbox, or the network was away for a moment.
bool CopyAfterFailure(Delivery& delivery, std::int32_t error) {
  const bool networkGone = error == platform::kErrorNetworkNameGone;
  LogDebugF(
      networkGone ? "[%s] Failed to copy message, network unavailable error (%d) occurred when "
                    "delivering to PO=%s MBX=%s. Retrying after delay.\n"
                  : "[%s] Failed to copy message, error (%d) occurred when delivering to PO=%s "
                    "MBX=%s. Retrying.\n",
      delivery.message.MessageID, error, delivery.postoffice.c_str(), delivery.record.Mailbox);
  if (networkGone) platform::SleepFor(5000);
  static_cast<void>(platform::CreateDirectory(delivery.MailboxPath()));
  static_cast<void>(platform::CreateDirectory(delivery.MailboxPath() + kInbox));
  if (!TransferToFolder(delivery.message, delivery.source,
                        delivery.InFolder("Inbox", delivery.message.MessageID))) {
    return false;
  }
  LogDebugF("[%s] Delivered message from %s to PO=%s MBX=%s\n", delivery.message.MessageID,
            delivery.message.Sender, delivery.postoffice.c_str(), delivery.record.Mailbox);
  return true;
}

std::int32_t CopyToFolder(Delivery& delivery) {
  if (TransferToFolder(delivery.message, delivery.source,
                       delivery.InFolder(delivery.folder, delivery.message.MessageID))) {
    const std::string line = std::string("[") + delivery.message.MessageID +
                             "] Delivered message from " + delivery.message.Sender +
                             " to PO=" + delivery.postoffice + " MBX=" + delivery.record.Mailbox +
                             " FLD=" + delivery.folder + "\n";
    LogDebug(line);
    LogActivity(line);
    return 1;
  }
  if (CopyAfterFailure(delivery, platform::LastError())) return 1;
  LogDebugF("[%s] Delivery failure occurred (error %d) when delivering to PO=%s MBX=%s.\n",
            delivery.message.MessageID, platform::LastError(), delivery.postoffice.c_str(),
            delivery.record.Mailbox);
  KeepInQueue(delivery.message, "bad mail", delivery.recipientItem);
  return 0;
}

std::int32_t RunSteps(Delivery& delivery) {
  ConnectorMessage& message = delivery.message;
  if (!SourceIsThere(delivery)) return 1;
  if (!FindMailbox(delivery)) return 1;
  if (message.Account[0] == '\0') SetText(message.Account, delivery.postoffice);
  ReadMessageSize(delivery);
  if (!MailboxIsEnabled(delivery) || !StaysHere(delivery) || !FitsQuota(delivery)) return 1;
  delivery.root = GetPostofficeRoot(delivery.postoffice);
  message.DeliveryFolder = delivery.folder;
  WriteReturnPath(delivery);
  const std::int32_t result = CopyToFolder(delivery);
  SetText(message.Account, delivery.postoffice);
  SetText(message.User, delivery.record.Mailbox);
  return result;
}

}  // namespace

std::int32_t DeliverToMailbox(ConnectorMessage& message, const std::string& postoffice,
                              const std::string& mailbox, const std::string& recipientItem) {
  return ReportAndRethrow("DeliverToMailbox", SourcePlace{"SFDeliver", __LINE__}, [&] {
    message.DeliveryFolder.clear();
    Delivery delivery{message, postoffice, recipientItem};
    delivery.source = OutgoingMessagePath(message.Connector, message.MessageID);
    PrepareRecord(delivery, mailbox);
    return RunSteps(delivery);
  });
}

}  // namespace corvane
