// Redirection.h -- sends a mailbox's mail on to other addresses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "connector/delivery/MessageFlags.h"
#include "connector/queue/ConnectorMessage.h"

namespace corvane {

inline constexpr std::int32_t kJunkNotRedirected = 0;
inline constexpr std::int32_t kRedirected = 1;
inline constexpr std::int32_t kRedirectFailed = 2;

using RedirectList = char[sizeof(MailboxRecord::RedirectAddress)];

// Takes the items whose domain is in `Redirect Blacklist` out of the list, in place. 1 when it
// removed one, else 0.
//
// The blacklist is not read yet: nothing is removed.
[[nodiscard]] std::int32_t RemoveBlacklistedRedirects(RedirectList& redirectAddress);

// Puts a new message for the mailbox's redirect addresses into the inbound queue. One of the three
// results above.
//
// Redirection is not built yet: the call says so in the debug log and keeps the message in the
// queue, so that nothing is lost.
std::int32_t RedirectMessage(ConnectorMessage& message, const MailboxRecord& mailbox,
                             const MessageFlags& flags, const std::string& recipientItem,
                             const std::string& postoffice, bool keepLocalCopy);

}  // namespace corvane
