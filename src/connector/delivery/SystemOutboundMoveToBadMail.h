// SystemOutboundMoveToBadMail.h -- moves a message that can be neither delivered nor bounced to bad
// mail.
#pragma once

#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Moves both files of `message` from `queueDirectory` to the bad mail directory, for `reason`.
//
// Bad mail is not built yet: the call says so in the debug log and keeps both queue files, so that
// nothing is lost.
void SystemOutboundMoveToBadMail(std::string_view queueDirectory, ConnectorMessage& message,
                                 std::string_view reason);

}  // namespace corvane
