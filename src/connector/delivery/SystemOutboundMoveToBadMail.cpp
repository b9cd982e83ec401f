#include "connector/delivery/SystemOutboundMoveToBadMail.h"

#include "connector/delivery/KeepInQueue.h"

namespace corvane {

void SystemOutboundMoveToBadMail(std::string_view /*queueDirectory*/, ConnectorMessage& message,
                                 std::string_view reason) {
  KeepInQueue(message, "bad mail", reason);
}

}  // namespace corvane
