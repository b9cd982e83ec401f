// FolderTransfer.h -- puts a message file into a mailbox folder, and makes what was put there
// durable.
//
// The last recipient of a walk gets the queue's own file under a second name, where the file system
// allows it, the message doesn't stay in the queue and the file has the rights of a new one there;
// every other one gets a copy: the worker removes the first name after the walk, and whatever
// rewrites a queue file writes a new one. A name in a mailbox appears at once and whole.
#pragma once

#include <string>
#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Puts `source` at `target`, replacing a file of that name, and notes it in `message` for
// FlushDelivered. False leaves the error as platform::LastError(): 3 the folder is missing, 32
// somebody holds the target, 64, 112 ...
[[nodiscard]] bool TransferToFolder(ConnectorMessage& message, const std::string& source,
                                    const std::string& target);

// For the last recipient: puts `source` at `target` with the header set, in one go, and leaves the
// queue's file as it is. False when there is nothing to set or it didn't work; the header is then
// set in the queue and TransferToFolder does the rest.
[[nodiscard]] bool TransferWithHeader(ConnectorMessage& message, const std::string& source,
                                      const std::string& target, std::string_view name,
                                      std::string_view value);

// For a directory that delivery has made: its name is as new as the message in it.
void NoteNewDirectory(ConnectorMessage& message, const std::string& directory);

// For a file that has been taken out of its mailbox again: there is nothing of it to make durable.
void ForgetDelivered(ConnectorMessage& message, const std::string& target);

// Makes everything that the walk has delivered durable; nothing to do with `Delivery Durability` at
// 0. The queue files may go only after this has returned true.
[[nodiscard]] bool FlushDelivered(ConnectorMessage& message);

}  // namespace corvane
