#include "connector/queue/ConnectorMessage.h"

#include <utility>

namespace corvane {

void ConnectorMessage::Reset() {
  std::string recipients = std::move(Recipients);
  std::string folder = std::move(DeliveryFolder);
  *this = ConnectorMessage{};
  Recipients = std::move(recipients);
  Recipients.clear();
  DeliveryFolder = std::move(folder);
  DeliveryFolder.clear();
}

ConnectorMessage ConnectorMessage::Derive() const {
  ConnectorMessage derived;
  static_cast<QueueFields&>(derived) = *this;
  return derived;
}

}  // namespace corvane
