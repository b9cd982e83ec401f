// RealtimeTraining.h -- teaches the spam filter from the sender lists of mailboxes.
#pragma once

#include <string>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Submits the delivered file `target` as wanted mail when the sender is whitelisted, and as spam
// when it is blacklisted: both when it is on both lists. Nothing while realtime training is off.
// The twelfth failure in a row, counted over the whole process, turns training off for good. Any
// thread.
void TrainFilter(const ConnectorMessage& message, const std::string& target, bool whitelisted,
                 bool blacklisted);

}  // namespace corvane
