#include "connector/delivery/KeepInQueue.h"

#include <string>

#include "connector/logs/Logs.h"

namespace corvane {

void KeepInQueue(ConnectorMessage& message, std::string_view stage, std::string_view what) {
  message.KeepInQueue = true;
  LogDebugF("[%s] This build has no %.*s; the message stays in the queue. %.*s\n",
            message.MessageID, static_cast<int>(stage.size()), stage.data(),
            static_cast<int>(what.size()), what.data());
}

}  // namespace corvane
