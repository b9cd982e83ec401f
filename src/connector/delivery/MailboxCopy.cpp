#include "connector/delivery/MailboxCopy.h"

#include "SERVICES/Library/LIBBadMail/BadMail.h"
#include "SERVICES/Library/LIBStore/MarkFolderChanged.h"
#include "SERVICES/Library/LIBStore/NewMessageMarkers.h"
#include "connector/delivery/AddressHelpers.h"
#include "connector/delivery/FolderTransfer.h"
#include "connector/delivery/MoveToBadMail.h"
#include "connector/logs/Logs.h"
#include "connector/queue/SetMessageHeader.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr const char* kReturnPath = "Return-Path";
constexpr const char* kInboxName = "Inbox";
constexpr std::int64_t kNetworkWaitMilliseconds = 5000;
constexpr std::int64_t kBackupWaitMilliseconds = 2000;

std::string ReturnPath(const MailboxDelivery& delivery) {
  const bool none = platform::EqualsNoCase(delivery.message.CommandType, "NDR") ||
                    platform::EqualsNoCase(delivery.sender, PostmasterAddress());
  return none ? "<>" : "<" + delivery.sender + ">";
}

// The copy with its Return-Path; the last recipient's is made in one go.
bool CopyToTarget(MailboxDelivery& delivery) {
  const std::string value = ReturnPath(delivery);
  if (TransferWithHeader(delivery.message, delivery.source, delivery.target, kReturnPath, value)) {
    return true;
  }
  if (SetMessageHeader(delivery.message, kReturnPath, value, false, true) != 1) {
    LogDebugF("[%s] The Return-Path header could not be written (error %d).\n", delivery.Id(),
              platform::LastError());
  }
  return TransferToFolder(delivery.message, delivery.source, delivery.target);
}

void LogFirstFailure(const MailboxDelivery& delivery, std::int32_t error) {
  if (error == platform::kErrorNetworkNameGone) {
    LogDebugF(
        "[%s] Failed to copy message, network unavailable error (%d) occurred when delivering to "
        "PO=%s MBX=%s. Retrying after delay.\n",
        delivery.Id(), error, delivery.postoffice.c_str(), delivery.record.Mailbox);
  } else {
    LogDebugF(
        "[%s] Failed to copy message, error (%d) occurred when delivering to PO=%s MBX=%s. "
        "Retrying.\n",
        delivery.Id(), error, delivery.postoffice.c_str(), delivery.record.Mailbox);
  }
}

// The mailbox may lack its Inbox, or the network was away for a moment.
bool CopyToInbox(MailboxDelivery& delivery) {
  ConnectorMessage& message = delivery.message;
  for (const std::string& path : {delivery.MailboxPath(), delivery.MailboxPath() + kInboxFolder}) {
    if (platform::CreateDirectory(path)) NoteNewDirectory(message, path);
  }
  if (!TransferToFolder(message, delivery.source, delivery.PathIn(kInboxName, message.MessageID))) {
    return false;
  }
  AddNewMessageMarker(delivery.postoffice, delivery.record.Mailbox, "");
  MarkFolderChanged(delivery.postoffice, delivery.record.Mailbox, kInboxFolder, kActionAdd,
                    message.MessageID, true, false);
  LogDebugF("[%s] Delivered message from %s to PO=%s MBX=%s\n", delivery.Id(), message.Sender,
            delivery.postoffice.c_str(), delivery.record.Mailbox);
  return true;
}

void CopyToBackupFile(MailboxDelivery& delivery) {
  ConnectorMessage& message = delivery.message;
  platform::SleepFor(kBackupWaitMilliseconds);
  const std::string name = std::string("G") + message.MessageID;
  const std::string backup = delivery.PathIn(kInboxName, name);
  if (!TransferToFolder(message, delivery.source, backup)) {
    LogDebugF("[%s] Delivery failure occurred when delivering to backup file in PO=%s MBX=%s.\n",
              delivery.Id(), delivery.postoffice.c_str(), delivery.record.Mailbox);
    KeepCopyInBadMail(delivery.message, kBadMailCopyFailed);
    return;
  }
  if (MarkFolderChanged(delivery.postoffice, delivery.record.Mailbox, kInboxFolder, kActionAdd,
                        name, false, false) == 0) {
    LogInsertionPostponed(delivery, kInboxFolder);
  }
  AddNewMessageMarker(delivery.postoffice, delivery.record.Mailbox, "");
  LogDebugF("[%s] Message %s delivered after 2 retries to PO=%s MBX=%s.\n", delivery.Id(),
            backup.c_str(), delivery.postoffice.c_str(), delivery.record.Mailbox);
}

// Neither copy worked.
void AfterSecondFailure(MailboxDelivery& delivery, std::int32_t error) {
  if (delivery.rulesResult != 0) {
    LogDebugF("[%s] Message was not delivered to PO=%s MBX=%s because of filter\n", delivery.Id(),
              delivery.postoffice.c_str(), delivery.record.Mailbox);
    KeepCopyInBadMail(delivery.message, kBadMailCopyFailed);
    return;
  }
  if (error != platform::kErrorNetworkNameGone && error != platform::kErrorSharingViolation) {
    MoveToBadMail(delivery.message, kBadMailCopyFailed);
    LogDebugF(
        "[%s] Delivery failure occurred (error %d) when delivering to PO=%s MBX=%s. Message moved "
        "to bad mail\n",
        delivery.Id(), error, delivery.postoffice.c_str(), delivery.record.Mailbox);
    return;
  }
  const std::string inboxTarget = delivery.PathIn(kInboxName, delivery.message.MessageID);
  LogDebugF("[%s] Delivery failure occurred when copying %s to %s.\n", delivery.Id(),
            delivery.source.c_str(), inboxTarget.c_str());
  if (!platform::FileExists(delivery.source)) {
    LogDebugF("[%s] Source message %s no longer exists.\n", delivery.Id(), delivery.source.c_str());
    return;
  }
  CopyToBackupFile(delivery);
}

}  // namespace

CopyOutcome CopyToMailbox(MailboxDelivery& delivery) {
  if (CopyToTarget(delivery)) return CopyOutcome::kCopied;
  const std::int32_t error = platform::LastError();
  LogFirstFailure(delivery, error);
  if (error == platform::kErrorNetworkNameGone) platform::SleepFor(kNetworkWaitMilliseconds);
  if (CopyToInbox(delivery)) return CopyOutcome::kSettled;
  AfterSecondFailure(delivery, platform::LastError());
  return CopyOutcome::kFailed;
}

}  // namespace corvane
