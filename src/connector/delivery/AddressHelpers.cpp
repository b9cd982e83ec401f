#include "connector/delivery/AddressHelpers.h"

#include <array>
#include <optional>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "connector/logs/Logs.h"
#include "connector/queue/ConnectorMessage.h"
#include "connector/settings/Settings.h"

namespace corvane {
namespace {

std::string MailboxItem(const MailboxRecord& mailbox) {
  return std::string("[SF:") + mailbox.Postoffice + "/" + mailbox.Mailbox + "]";
}

// The mailbox's option, or nothing when it can't be read.
std::optional<std::string> MailboxOption(const MailboxRecord& mailbox, const char* name) {
  std::array<char, 1024> text{};
  if (GetMailboxOption(mailbox.Postoffice, mailbox.Mailbox, name, text.data(), text.size()) == 0) {
    return std::nullopt;
  }
  return text.data();
}

std::string MappedAddress(const MailboxRecord& mailbox) {
  AddressMapRecord map{};
  SetText(map.DestinationAddress, MailboxItem(mailbox));
  map.Status = -1;
  if (AddressMapGet(map) == 0) return {};
  map.SourceAddress[sizeof(map.SourceAddress) - 1] = '\0';
  return map.SourceAddress;
}

}  // namespace

std::string PostmasterAddress() {
  return settings::Get(settings::kBadMailNotificationSenderAddress);
}

bool IsLocalDomain(std::string_view domain) {
  DomainRecord record{};
  SetText(record.Domain, domain);
  record.Reserved1 = 1;
  record.Reserved2 = -1;
  return SMTPDomainGet(record) == 1;
}

void GetMailboxReplyAddress(const MailboxRecord& mailbox, std::string& out) {
  const std::string reply = MailboxOption(mailbox, "ReplyAddress").value_or("");
  if (!reply.empty()) {
    out = reply.find('[') != std::string::npos ? reply : "[SMTP:" + reply + "]";
    return;
  }
  out = MappedAddress(mailbox);
  if (out.empty()) out = "[SMTP:" + PostmasterAddress() + "]";
}

void GetPostmasterFor(std::string_view senderItem, std::string& out) {
  out = PostmasterAddress();
  const std::size_t colon = senderItem.find(':');
  std::string_view address =
      colon == std::string_view::npos ? std::string_view{} : senderItem.substr(colon + 1);
  address = address.substr(0, address.find(']'));
  const std::size_t at = address.rfind('@');
  if (at == std::string_view::npos) {
    LogDebug("CV-E0003: Could not resolve local domain for address " + std::string(senderItem) +
             ".\n");
    return;
  }
  const std::string_view domain = address.substr(at + 1);
  if (IsLocalDomain(domain)) out = "postmaster@" + std::string(domain);
}

void GetMailboxDisplayName(const MailboxRecord& mailbox, std::string& out) {
  const auto name = MailboxOption(mailbox, "DisplayName");
  out = name ? *name : PostmasterAddress();
}

}  // namespace corvane
