// SmtpRoute.h -- where mail to an Internet address goes.
#pragma once

#include <string>
#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// The domain that serves `address` and the address to give it.
//
//   first,rest:who    a source route: `first`, and "rest:who", or "who" when there is one hop
//   who@domain        the text behind the first "@", and the address as it stands
//   anything else     the postmaster of the local domain; the debug log says so
//
// Domains are cut to 255 bytes. Any thread.
void ResolveSmtpRoute(std::string_view address, std::string& domainOut, std::string& addressOut);

// The address between the first ":" and the first "]" of a sender item; empty without both signs.
[[nodiscard]] std::string_view BounceAddress(std::string_view senderItem);

// The address in whose name the system answers the sender of `message`: the postmaster of the
// sender's domain when that is served here, otherwise the postmaster address; of the local domain
// for a sender without a domain, and the debug log says so. Cut to 511 bytes. A configuration
// without a way to ask for domains gives the postmaster address.
[[nodiscard]] std::string PostmasterForBounce(const ConnectorMessage& message,
                                              std::string_view senderAddress);

}  // namespace corvane
