// OutgoingCommandFile.h -- command files of the outbound queue: read, write, delete.
//
// The state of a queued message lives in its command file and nowhere else. Keys, with the bytes
// that a reader keeps:
//
//   DomainName=    255   Sender=        511   MessageID=   63    DSNFlags=   127 (DSN Status is 1)
//   Recipients=    all   Retries=    number   ClientIP=    63    Campaign=   127 (Campaign Status
//   is 1) NextSendTime=  time  TimeAcquired= time   Subject=   1023    Priority=    31
//   AuthenticationStatus= number              Account=    127    CommandType= 31   Status= 15
//
// The order of lines is free, the last of two equal keys counts, unknown keys are passed over.
// Server= belongs to the claim (OutgoingClaim.h) and the reset (OutgoingReset.h) alone. Any thread
// that owns the message.
#pragma once

#include <cstdint>
#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Fills `message` from the text of its command file. The name of the file stays its MessageID
// whatever the text says, since all later paths are formed from it. False when the text has no
// Recipients= line: it is no command file, or was cut short.
[[nodiscard]] bool ParseOutgoingCommandText(std::string_view text, ConnectorMessage& message);

// Fills `message` from <Connector Root Directory>\<Connector>\Outgoing\<MessageID>.
// 1, or 0 when the file can't be opened or read; a read error also prints "Error reading command
// file\n".
[[nodiscard]] std::int32_t ReadOutgoingCommandFile(ConnectorMessage& message);

// Creates the command file from `message`, whole and durable; up to 10 tries. 1, or 0.
// The message file must be durable before.
[[nodiscard]] std::int32_t WriteOutgoingCommandFile(const ConnectorMessage& message);

// Delete the two files with retries; 1 when the file is gone. The message file goes first.
std::int32_t DeleteOutgoingMessageFile(const ConnectorMessage& message);
std::int32_t DeleteOutgoingCommandFile(const ConnectorMessage& message);

}  // namespace corvane
