#include "connector/delivery/MailboxLookup.h"

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "connector/delivery/GenerateNDR.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr std::uint32_t kSizeUnknown = UINT32_MAX - 1;

// Whether the answer says nothing of the mailbox: the shipped library lost its store.
bool IsStoreOutOfReach(const MailboxRecord& record, std::int32_t result) {
  return result == -1 && record.Status == kProviderUnreachable;
}

}  // namespace

bool IsSourceThere(const MailboxDelivery& delivery) {
  if (platform::FileExists(delivery.source)) return true;
  const std::uint32_t delay = settings::Get(settings::kMessageCheckDelay);
  if (delay != 0) {
    platform::SleepFor(delay);
    if (platform::FileExists(delivery.source)) {
      LogDebugF("[%s] Message became available after wait for PO=%s.\n", delivery.Id(),
                delivery.postoffice.c_str());
      return true;
    }
  }
  // Nobody removed it where the whole directory is away: a share that isn't mounted comes back.
  if (!platform::DirectoryExists(platform::ParentPath(delivery.source))) {
    delivery.message.KeepInQueue = true;
    LogDebugF("[%s] The directory of queued messages is away. The message stays in the queue.\n",
              delivery.Id());
  }
  LogDebugF("[%s] Message does not exist after postoffice level filter for PO=%s.\n", delivery.Id(),
            delivery.postoffice.c_str());
  return false;
}

bool FindMailbox(MailboxDelivery& delivery) {
  MailboxRecord& record = delivery.record;
  record.Size = kSizeUnknown;
  if (DebugLevelAbove(10)) LogDebugF("[%s] Getting mailbox details.\n", delivery.Id());
  const std::int32_t result = MailboxGet(record);
  if (IsStoreOutOfReach(record, result)) {
    throw StoreUnreachable("the configuration store can't be reached");
  }
  if (result != 0) return true;
  LogDebugF("[%s] Mailbox (%s) could not be found on postoffice (%s) and message bounced.\n",
            delivery.Id(), record.Mailbox, delivery.postoffice.c_str());
  GenerateNDR(delivery.message, delivery.recipientItem, kNoMailboxReason);
  return false;
}

bool IsMailboxEnabled(MailboxDelivery& delivery) {
  if (delivery.record.Status == 1) return true;
  LogDebugF(
      "[%s] Mailbox (%s) on postoffice (%s) either no longer exists or is disabled. The message "
      "has been returned to sender.\n",
      delivery.Id(), delivery.record.Mailbox, delivery.postoffice.c_str());
  GenerateNDR(delivery.message, delivery.recipientItem, kNoMailboxReason);
  return false;
}

void ReadMessageSize(MailboxDelivery& delivery) {
  if (DebugLevelAbove(10)) LogDebugF("[%s] Reading message size.\n", delivery.Id());
  const auto info = platform::GetFileInfo(delivery.source);
  delivery.messageKb = info ? static_cast<std::uint32_t>(info->size / 1024 + 1) : 1;
}

}  // namespace corvane
