#include "connector/delivery/DeliverToGroup.h"

#include "connector/delivery/KeepInQueue.h"

namespace corvane {

std::int32_t DeliverToGroup(ConnectorMessage& message, std::string_view recipientItem) {
  KeepInQueue(message, "group expansion", recipientItem);
  return 0;
}

}  // namespace corvane
