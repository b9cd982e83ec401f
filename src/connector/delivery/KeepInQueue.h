// KeepInQueue.h -- what a stage does that has no other safe place for a message.
#pragma once

#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Says in the debug log that `stage` is not built and what it was needed for, and marks the
// message, so that its walk leaves both files in the queue. They stay in Delivering until the next
// start resets them.
void KeepInQueue(ConnectorMessage& message, std::string_view stage, std::string_view what);

}  // namespace corvane
