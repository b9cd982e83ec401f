#include "SERVICES/Library/LIBRPCNotify/ServiceAction.h"

#include <cstdio>

#include "SERVICES/Library/LIBRPCNotify/RemoteNotification.h"
#include "connector/logs/ExceptionReport.h"
#include "platform/Reports.h"

namespace corvane {

std::int32_t DispatchServiceAction(const char* server, const char* agent, const char* action,
                                   const char* argument) {
  return ReportAndRethrow("DispatchServiceAction", CV_HERE, [&] {
    char text[1024];
    std::snprintf(text, sizeof text, "[CV_ACTION]\t%s\t%s", action, argument);
    const std::int32_t answer = NotifyRemote(server, agent, text);
    if (answer != 0) platform::PrintConsole("RPC Notify Failed");
    return answer;
  });
}

}  // namespace corvane
