#include "connector/queue/QueuePaths.h"

#include "connector/settings/ConnectorSettings.h"

namespace corvane {
namespace {

std::string QueuePath(std::string_view connector, std::string_view directory,
                      std::string_view name) {
  std::string path = settings::ConnectorRootDirectory();
  path.append("\\").append(connector).append(directory).append(name);
  return path;
}

}  // namespace

std::string ConnectorDirectory(std::string_view connector) { return QueuePath(connector, "", ""); }

std::string OutgoingDirectory(std::string_view connector) {
  return QueuePath(connector, "\\Outgoing", "");
}

std::string OutgoingCommandPath(std::string_view connector, std::string_view name) {
  return QueuePath(connector, "\\Outgoing\\", name);
}

std::string OutgoingMessagePath(std::string_view connector, std::string_view name) {
  return QueuePath(connector, "\\Outgoing\\Messages\\", name);
}

std::string InboundMessagePath(std::string_view connector, std::string_view name) {
  return QueuePath(connector, "\\Inbound\\Messages\\", name);
}

}  // namespace corvane
