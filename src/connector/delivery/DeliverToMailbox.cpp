#include "connector/delivery/DeliverToMailbox.h"

#include "CLIENTS/CVMAPI/CVMSLIB/common/FileManagement.h"
#include "SERVICES/Library/LIBStore/MarkFolderChanged.h"
#include "SERVICES/Library/LIBStore/NewMessageMarkers.h"
#include "SERVICES/Library/LIBStore/StorePaths.h"
#include "connector/delivery/AutoResponder.h"
#include "connector/delivery/ClassifyMessage.h"
#include "connector/delivery/DeliveryEvent.h"
#include "connector/delivery/FolderChoice.h"
#include "connector/delivery/FolderTransfer.h"
#include "connector/delivery/GenerateDSN.h"
#include "connector/delivery/MailboxCopy.h"
#include "connector/delivery/MailboxDelivery.h"
#include "connector/delivery/MailboxLookup.h"
#include "connector/delivery/MailboxSpamSettings.h"
#include "connector/delivery/NotifyMailboxClients.h"
#include "connector/delivery/QuotaStage.h"
#include "connector/delivery/RealtimeTraining.h"
#include "connector/delivery/RedirectStage.h"
#include "connector/delivery/ScopedRules.h"
#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/queue/QueuePaths.h"
#include "connector/settings/Settings.h"
#include "filter/ProcessScopedFilters.h"
#include "platform/FileSystem.h"
#include "records/audit/AuditLog.h"

namespace corvane {
namespace {

constexpr std::int32_t kDealtWith = 1;
constexpr std::int32_t kCopyFailed = 0;

void Prepare(MailboxDelivery& delivery) {
  delivery.message.DeliveryFolder.clear();
  MailboxRecord& record = delivery.record;
  SetText(record.Postoffice, delivery.postoffice);
  SetText(record.Mailbox, delivery.askedMailbox);
  record.RedirectStatus = -1;
  record.Status = -1;
  record.Limit = UINT32_MAX;
  delivery.source = OutgoingMessagePath(delivery.message.Connector, delivery.message.MessageID);
}

bool PassesPostofficeRules(MailboxDelivery& delivery) {
  if (DebugLevelAbove(10)) {
    LogDebugF("[%s] Checking message for postoffice filters.\n", delivery.Id());
  }
  if (ProcessPostofficeRules(delivery.postoffice, delivery.message) != kFilterTookMessage) {
    return true;
  }
  LogDebugF(
      "[%s] Message delivery processing to PO=%s was interupted because a filter prevented "
      "delivery of the original message.\n",
      delivery.Id(), delivery.postoffice.c_str());
  return false;
}

void ReadFlags(MailboxDelivery& delivery) {
  if (DebugLevelAbove(10)) LogDebugF("[%s] Reading message flags.\n", delivery.Id());
  ClassifyMessage(delivery.message, delivery.source, delivery.flags,
                  settings::Get(settings::kFilterJunkMail));
}

void AnswerAutomatically(MailboxDelivery& delivery) {
  if (settings::Get(settings::kAutoRespondersEnabled) == 0) return;
  if (DebugLevelAbove(10)) LogDebugF("[%s] Processing any autoresponder.\n", delivery.Id());
  static_cast<void>(ProcessAutoResponder(delivery.message, delivery.flags, delivery.record));
}

// An entry about the sender's message in the trail of the mailbox that was asked for.
void Audit(const MailboxDelivery& delivery, AuditCode code, const std::string& what) {
  WriteAuditEntry(code, delivery.postoffice, delivery.askedMailbox,
                  "POSTOFFICE Message from: " + delivery.sender + what, kAuditSeverity,
                  AuditCategory::kDelivery);
}

bool PassesMailboxRules(MailboxDelivery& delivery) {
  delivery.rulesResult = ProcessMailboxRules(delivery.record, delivery.message);
  if (delivery.rulesResult != kFilterTookMessage) return true;
  LogDebugF(
      "[%s] Message delivery processing to PO=%s MBX=%s was interupted because a filter prevented "
      "delivery of the original message.\n",
      delivery.Id(), delivery.postoffice.c_str(), delivery.record.Mailbox);
  Audit(delivery, AuditCode::kMailboxRule,
        " was not delivered because a mailbox rules filter triggered non-delivery.");
  return false;
}

bool SurvivedRules(const MailboxDelivery& delivery) {
  if (platform::FileExists(delivery.source)) return true;
  LogDebugF(
      "[%s] Message processing error occurred when delivering to PO=%s MBX=%s the original message "
      "was removed by a filter.\n",
      delivery.Id(), delivery.postoffice.c_str(), delivery.record.Mailbox);
  Audit(delivery, AuditCode::kSourceRemoved,
        " was not delivered because the original message was removed by a filter.");
  return false;
}

bool PassesDeliveryEvent(MailboxDelivery& delivery) {
  if (ProcessDeliveryEvent(delivery.record, delivery.flags, delivery.message) == 0) return true;
  if (platform::FileExists(delivery.target)) return true;
  ForgetDelivered(delivery.message, delivery.target);
  LogDebugF("[%s] Mailbox delivery event removed a message to PO=%s MBX=%s.\n", delivery.Id(),
            delivery.postoffice.c_str(), delivery.record.Mailbox);
  Audit(delivery, AuditCode::kDeliveryEvent, " was removed by mailbox delivery event.");
  return false;
}

void RemoveAsSpam(MailboxDelivery& delivery) {
  RetryDeleteFile(delivery.target);
  ForgetDelivered(delivery.message, delivery.target);
  LogDebugF("[%s] Message Spam processing occurred when delivering to PO=%s MBX=%s.\n",
            delivery.Id(), delivery.postoffice.c_str(), delivery.record.Mailbox);
  Audit(delivery, AuditCode::kSpamSetting, " was detected as spam and was not delivered.");
}

bool PassesSpamSettings(MailboxDelivery& delivery) {
  if (delivery.junkSwitch != 0) return true;
  const bool log = DebugLevelAbove(8);
  if (delivery.whitelisted) {
    if (log) {
      LogDebugF(
          "[%s] DeliverToMailbox:: Bypassing filtering because sender is mailbox whitelisted for "
          "%s/%s, Sender=%s\n",
          delivery.Id(), delivery.postoffice.c_str(), delivery.record.Mailbox,
          delivery.sender.c_str());
    }
    return true;
  }
  const std::int32_t result = ProcessMailboxSpamSettings(
      delivery.record, delivery.flags, delivery.message, delivery.message.DeliveryFolder);
  if (result == kDeleteDeliveredCopy) {
    RemoveAsSpam(delivery);
    return false;
  }
  if (log) {
    LogDebugF("[%s] DeliverToMailbox:: %s/%s, Sender=%s Spam Rules Result=%ld\n", delivery.Id(),
              delivery.postoffice.c_str(), delivery.record.Mailbox, delivery.sender.c_str(),
              static_cast<long>(result));
  }
  return true;
}

void TellStore(MailboxDelivery& delivery) {
  if (DebugLevelAbove(8)) {
    LogDebugF("[%s] DeliverToMailbox:: Generating notification for message\n", delivery.Id());
  }
  if (MarkFolderChanged(delivery.postoffice, delivery.record.Mailbox, delivery.folder, kActionAdd,
                        delivery.message.MessageID, false, false) == 0) {
    LogInsertionPostponed(delivery, delivery.folder);
  }
  AddNewMessageMarker(delivery.postoffice, delivery.record.Mailbox, "");
}

void TellClients(MailboxDelivery& delivery) {
  SetText(delivery.message.Account, delivery.postoffice);
  SetText(delivery.message.User, delivery.record.Mailbox);
  NotifyMailboxClients(delivery.message);
}

void RecordDelivery(const MailboxDelivery& delivery) {
  Audit(delivery, AuditCode::kDelivered, " was delivered to mailbox folder: " + delivery.folder);
  const std::string line = std::string("[") + delivery.Id() + "] Delivered message from " +
                           delivery.message.Sender + " to PO=" + delivery.postoffice +
                           " MBX=" + delivery.record.Mailbox + " FLD=" + delivery.folder + "\n";
  LogDebug(line);
  LogActivity(line);
}

void TellSender(MailboxDelivery& delivery) {
  if (GenerateDSN(delivery.message, delivery.record, DsnKind::kSuccess) != 1) return;
  LogDebugF("[%s] Delivery Success notification message generated for %s to PO=%s MBX=%s FLD=%s\n",
            delivery.Id(), delivery.message.Sender, delivery.postoffice.c_str(),
            delivery.record.Mailbox, delivery.folder.c_str());
}

// Everything up to the copy. False when the delivery ends before it.
bool RunStagesBeforeCopy(MailboxDelivery& delivery) {
  if (!PassesPostofficeRules(delivery)) return false;
  if (!IsSourceThere(delivery)) return false;
  ReadFlags(delivery);
  if (!FindMailbox(delivery)) return false;
  if (settings::Get(settings::kRedirectionEnabled) == 1) delivery.record.RedirectStatus = 0;
  if (delivery.message.Account[0] == '\0') SetText(delivery.message.Account, delivery.postoffice);
  ReadMessageSize(delivery);
  if (!IsMailboxEnabled(delivery)) return false;
  AnswerAutomatically(delivery);
  if (!StaysHere(delivery)) return false;
  if (!HasRoom(delivery)) return false;
  ChooseFolder(delivery);
  return PassesMailboxRules(delivery) && SurvivedRules(delivery);
}

void RunStagesAfterCopy(MailboxDelivery& delivery) {
  ClassifyMessage(delivery.message, delivery.target, delivery.flags,
                  settings::Get(settings::kFilterJunkMail));
  if (!PassesDeliveryEvent(delivery)) return;
  TrainFilter(delivery.message, delivery.target, delivery.whitelisted, delivery.blacklisted);
  if (!PassesSpamSettings(delivery)) return;
  TellStore(delivery);
  TellClients(delivery);
  RecordDelivery(delivery);
  TellSender(delivery);
}

std::int32_t RunStages(MailboxDelivery& delivery) {
  if (!RunStagesBeforeCopy(delivery)) return kDealtWith;
  // A store that can't be reached from here on must not leave a copy that nobody is told of.
  const HeldPostofficeRoot held(delivery.postoffice, delivery.root);
  switch (CopyToMailbox(delivery)) {
    case CopyOutcome::kFailed:
      return kCopyFailed;
    case CopyOutcome::kCopied:
      RunStagesAfterCopy(delivery);
      break;
    case CopyOutcome::kSettled:
      break;
  }
  return kDealtWith;
}

}  // namespace

std::int32_t DeliverToMailbox(ConnectorMessage& message, const std::string& postoffice,
                              const std::string& mailbox, const std::string& recipientItem) {
  return ReportAndRethrow("DeliverToMailbox", SourcePlace{"SFDeliver", __LINE__}, [&] {
    MailboxDelivery delivery{message, postoffice, mailbox, recipientItem};
    Prepare(delivery);
    return RunStages(delivery);
  });
}

}  // namespace corvane
