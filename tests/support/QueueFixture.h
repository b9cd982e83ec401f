// QueueFixture.h -- a test with the connector's two queues and one message that is not yet there.
#pragma once

#include <string>

#include "connector/queue/ConnectorMessage.h"
#include "tests/support/SettingsFixture.h"

namespace corvane::test {

class QueueFixture : public SettingsFixture {
 protected:
  static constexpr const char* kName = "0123456789ABCDEF0123456789ABCDEF.MAI";

  QueueFixture() {
    fs::create_directories(Directory() / "SF/Outgoing/Messages");
    fs::create_directories(Directory() / "SF/Inbound/Messages");
    SetText(message_.Connector, "SF");
    SetText(message_.MessageID, kName);
  }
  [[nodiscard]] std::string Queue(const std::string& name = "Outgoing") const {
    return Directory() / ("SF/" + name);
  }
  // The message's two files there.
  [[nodiscard]] std::string CommandFile(const std::string& queue = "Outgoing") const {
    return Queue(queue) + "/" + kName;
  }
  [[nodiscard]] std::string MessageFile(const std::string& queue = "Outgoing") const {
    return Queue(queue) + "/Messages/" + kName;
  }

  ConnectorMessage message_;
};

}  // namespace corvane::test
