// ServiceAction.h -- asks another service of the mail server to do something.
#pragma once

#include <cstdint>

namespace corvane {

// Sends `agent` the action through the notification library, as
//
//   "[CV_ACTION]" TAB action TAB argument
//
// cut to 1,023 bytes, without a line end.
//
//   server    a computer name, empty for this one
//   agent     the service to reach: "MTA"
//   action    "TRAIN-HAM", "TRAIN-SPAM"; argument: the path of the message file
//
// The answer of the library: 0 passed on, any other value failed (printed on the console too); 0
// when it isn't bound. Any thread. An exception is reported and thrown on.
std::int32_t DispatchServiceAction(const char* server, const char* agent, const char* action,
                                   const char* argument);

}  // namespace corvane
