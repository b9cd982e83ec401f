// InboundCommandFile.h -- command files of the inbound queue: what delivery itself sends goes
// there, and another service of the mail server takes it on.
//
// The queue has the shape of the outbound one: <connector directory>\Inbound\<name> beside
// <connector directory>\Inbound\Messages\<name>. The message file is durable before its command
// file appears, so a command always has its message. Keys, with the bytes that a reader keeps:
//
//   Recipients=  all   TimeAcquired= time   AuthenticationStatus= number   Account=      127
//   Server=      255   ClientIP=     65     User=      127                 Status=       15
//   Sender=      511   Priority=     31     DSNFlags=  127                 CommandType=  31
//                                           Campaign=  127                 Subject=      1023
//
// Written in the order of InboundCommandFile.cpp; `User=` only for an authenticated sender,
// `DSNFlags=`, `Priority=` and `Campaign=` only with their settings on. Any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Writes `<connectorDirectory>\Inbound\<MessageID>`, whole and durable; up to 10 tries. 1,
// or 0.
[[nodiscard]] std::int32_t WriteInboundCommandFile(const std::string& connectorDirectory,
                                                   const ConnectorMessage& message);

// Empties the fields of the keys above and fills them from the file of `MessageID`. 1, or 0 when it
// can't be opened or read; a read error also prints "Skipping File: Command file in write
// operation\n".
[[nodiscard]] std::int32_t ReadInboundCommandFile(const std::string& connectorDirectory,
                                                  ConnectorMessage& message);

// The short command file of a bounce, as `<Connector Root Directory>\SF\Inbound\<MessageID>`. 1, or
// 0 when it can't be written.
[[nodiscard]] std::int32_t WriteInboundNDRCommand(const ConnectorMessage& message);

// Takes back a message whose command file could not be written: the command first, since a name may
// stand there although its last flush failed, then the message file.
void RemoveInboundMessage(const std::string& connectorDirectory, std::string_view messageId);

// An inbound queue as its owner knows it.
struct InboundQueue {
  char DisplayName[128] = {};
  char Connector[128] = {};
  std::int32_t Reset = 0;  // 1: its messages are to be reset
  std::string ConnectorDirectory;
};

// What became of one message at a reset.
enum class InboundReset : std::uint8_t {
  kReset,
  kUndelivered,  // it is in that state already
  kFailed,       // LastError: 2 there is none, 32 somebody holds it, 1392 it is no command file
};

// Puts the message `name` back to the state "Undelivered" unless it is in it: no server, acquired
// now. One try; a file without recipients and state stays as it is.
[[nodiscard]] InboundReset ResetInboundCommandFile(const std::string& connectorDirectory,
                                                   const std::string& name);

// Resets each message of the queue. For the service that empties the queue, at its start, and for
// an administrator's word. The log says what was done, and `tell` hears of each message. Returns
// how many were reset.
using InboundResetListener = std::function<void(const std::string& name, InboundReset outcome)>;
std::int32_t ResetInboundQueue(const InboundQueue& queue, const InboundResetListener& tell = {});

}  // namespace corvane
