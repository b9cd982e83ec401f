// DeliverToGroup.h -- expands a group into new messages for its members.
#pragma once

#include <cstdint>
#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Sends `message` on to the members of a group. The result goes to the walk as it is.
//
// Group expansion is not built yet: the call says so in the debug log and keeps both queue files,
// so that nothing is lost.
[[nodiscard]] std::int32_t DeliverToGroup(ConnectorMessage& message,
                                          std::string_view recipientItem);

}  // namespace corvane
