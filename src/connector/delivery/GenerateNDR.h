// GenerateNDR.h -- the one way to bounce.
#pragma once

#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Answers the sender of `message` that `recipientItem` could not be served because of `reasonText`.
//
// Bounces are not built yet: the call says so in the debug log and keeps both queue files, so that
// nothing is lost.
void GenerateNDR(ConnectorMessage& message, std::string_view recipientItem,
                 std::string_view reasonText);

}  // namespace corvane
