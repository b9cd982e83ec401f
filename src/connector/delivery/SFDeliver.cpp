#include "connector/delivery/SFDeliver.h"

#include <string>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "SERVICES/Library/LIBBadMail/BadMail.h"
#include "connector/delivery/DeliverToGroup.h"
#include "connector/delivery/DeliverToMailbox.h"
#include "connector/delivery/GenerateNDR.h"
#include "connector/delivery/MoveToBadMail.h"
#include "connector/delivery/ParsedAddress.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr std::size_t kPostofficeLimit = 127;
constexpr std::size_t kMailboxLimit = 63;
constexpr std::size_t kGroupLimit = 255;
constexpr const char* kNotAvailable = "The email address is not available on this system";
constexpr const char* kNoMailbox = "The mailbox is not available on this system";

// One recipient on its way through the steps.
struct Recipient {
  std::string item;
  std::string postoffice;
  std::string name;
};

std::int32_t CorruptRecipient(ConnectorMessage& message, const std::string& item) {
  MoveToBadMail(message, kBadMailCorruptRecipient);
  LogDebugF("Message %s has corrupted recipient %s. Recipient ignored.\n", message.MessageID,
            item.c_str());
  return 0;
}

std::int32_t RefuseNames(ConnectorMessage& message, const Recipient& recipient) {
  LogDebugF("Message %s has recipient %s with a name that no mailbox can have.\n",
            message.MessageID, recipient.item.c_str());
  GenerateNDR(message, recipient.item, kNoMailbox);
  return 0;
}

bool NamesAreSafe(const Recipient& recipient) {
  return recipient.postoffice.size() <= kPostofficeLimit && recipient.name.size() <= kGroupLimit &&
         platform::IsSafeName(recipient.postoffice) && platform::IsSafeName(recipient.name);
}

// Whether the recipient's postoffice lets it go on; otherwise it has been settled here.
bool PostofficeIsOpen(ConnectorMessage& message, const Recipient& recipient) {
  if (settings::Get(settings::kDisabledPostofficeBounceMode) != 1) return true;
  if (DebugLevelAbove(10)) {
    LogDebugF("[%s] Checking if postoffice is disabled.\n", message.MessageID);
  }
  PostofficeRecord record{};
  SetText(record.Postoffice, recipient.postoffice);
  record.Status = 1;
  const std::int32_t result = PostofficeGet(record);
  if (result == -1) {
    LogDebugF("[%s] Postoffice (%s) has been disabled by the system administrator.\n",
              message.MessageID, recipient.postoffice.c_str());
    return false;
  }
  if (result == 0 || (result == 1 && record.Status != 1)) {
    LogDebugF(
        "[%s] Message to (%s) could not be delivered because the Postoffice (%s) has been disabled "
        "by the system administrator.\n",
        message.MessageID, recipient.item.c_str(), recipient.postoffice.c_str());
    GenerateNDR(message, recipient.item, kNotAvailable);
    return false;
  }
  return true;
}

std::int32_t DisabledGroup(ConnectorMessage& message, const Recipient& recipient) {
  LogDebugF("Message %s sent to disabled group %s.\n", message.MessageID, recipient.item.c_str());
  GenerateNDR(message, recipient.item, kNotAvailable);
  return 0;
}

std::int32_t DeliverToGroupOrMailbox(ConnectorMessage& message, const Recipient& recipient) {
  if (DebugLevelAbove(10)) {
    LogDebugF("[%s] Checking if recipient is a group.\n", message.MessageID);
  }
  GroupRecord group{};
  SetText(group.Address, recipient.item);
  SetText(group.Postoffice, recipient.postoffice);
  SetText(group.GroupName, recipient.name);
  switch (GroupGet(group)) {
    case -1:
      return kStoreUnreachable;
    case 0:
      if (recipient.name.size() > kMailboxLimit) return RefuseNames(message, recipient);
      return DeliverToMailbox(message, recipient.postoffice, recipient.name, recipient.item);
    case 1:
      if (group.GroupStatus == 0) return DisabledGroup(message, recipient);
      return DeliverToGroup(message, recipient.postoffice, recipient.name, recipient.item);
    default:
      return 0;
  }
}

}  // namespace

std::int32_t DeliverToRecipient(ConnectorMessage& message, std::string_view recipientItem) {
  if (recipientItem.size() > kMaximumItemBytes) {
    LogDebugF("Message %s has a recipient of %zu characters. Recipient ignored.\n",
              message.MessageID, recipientItem.size());
    return 0;
  }
  const RecipientNames names = SplitRecipient(recipientItem);
  if (!names.hasSigns) return 0;
  const Recipient recipient{std::string(recipientItem), std::string(names.postoffice),
                            std::string(names.name)};
  if (!names.closed) return CorruptRecipient(message, recipient.item);
  if (!NamesAreSafe(recipient)) return RefuseNames(message, recipient);
  if (!PostofficeIsOpen(message, recipient)) return 0;
  return DeliverToGroupOrMailbox(message, recipient);
}

}  // namespace corvane
