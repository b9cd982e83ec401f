#include "connector/delivery/GenerateNDR.h"

#include "connector/delivery/KeepInQueue.h"

namespace corvane {

void GenerateNDR(ConnectorMessage& message, std::string_view recipientItem,
                 std::string_view reasonText) {
  KeepInQueue(message, "bounces", std::string(recipientItem).append(": ").append(reasonText));
}

}  // namespace corvane
