// QueuePaths.h -- where the files of the queues lie.
//
//   <Connector Root Directory>\<connector>\Outgoing\<name>            command file
//   <Connector Root Directory>\<connector>\Outgoing\Messages\<name>   the message, an RFC 822 text
//   of the same name
//   <Connector Root Directory>\<connector>\Inbound\...                 the same two for what
//   delivery itself sends
//
// Any thread. Paths are product paths.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// "<Connector Root Directory>\<connector>\Outgoing".
[[nodiscard]] std::string OutgoingDirectory(std::string_view connector);
[[nodiscard]] std::string OutgoingCommandPath(std::string_view connector, std::string_view name);
[[nodiscard]] std::string OutgoingMessagePath(std::string_view connector, std::string_view name);
// "<Connector Root Directory>\<connector>": where the queues of a connector lie.
[[nodiscard]] std::string ConnectorDirectory(std::string_view connector);
// "<Connector Root Directory>\<connector>\Inbound\Messages\<name>".
[[nodiscard]] std::string InboundMessagePath(std::string_view connector, std::string_view name);

}  // namespace corvane
