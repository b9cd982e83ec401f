// AddressHelpers.h -- the addresses under which the system writes for a mailbox or to a sender's
// site.
//
// The postmaster address is the setting `Bad Mail Notification Sender Address`. Any thread.
#pragma once

#include <string>
#include <string_view>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"

namespace corvane {

[[nodiscard]] std::string PostmasterAddress();

// Whether mail for the domain is served here.
[[nodiscard]] bool IsLocalDomain(std::string_view domain);

// The address item that replies to a mailbox go to: its option ReplyAddress (as it stands when it
// contains "[", else wrapped as "[SMTP:...]"), else what the address map ties to it, else the
// postmaster.
void GetMailboxReplyAddress(const MailboxRecord& mailbox, std::string& out);

// The postmaster of the sender's domain when that is served here, otherwise the postmaster address.
void GetPostmasterFor(std::string_view senderItem, std::string& out);

// The mailbox's option DisplayName, or the postmaster address.
void GetMailboxDisplayName(const MailboxRecord& mailbox, std::string& out);

}  // namespace corvane
