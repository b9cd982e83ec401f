// DeliverToMailbox.h -- carries one message to one local mailbox.
#pragma once

#include <cstdint>
#include <string>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Delivers `message` to a recipient that is no group. The queue's message file stays; the worker
// removes it.
//
// 1  the recipient is dealt with: delivered, bounced or dropped with a log line
// 0  the copy failed
//
// Runs on the message's worker. Leaves on disk the message file in the folder and the directories
// made on the way; the Return-Path header in the queue's file changes for this and every later
// recipient.
[[nodiscard]] std::int32_t DeliverToMailbox(ConnectorMessage& message,
                                            const std::string& postoffice,
                                            const std::string& mailbox,
                                            const std::string& recipientItem);

}  // namespace corvane
