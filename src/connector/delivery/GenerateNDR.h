// GenerateNDR.h -- bounces: the one way to tell a sender that a recipient could not be served.
//
// A bounce is a new message in the inbound queue of the connector, sent by the postmaster and
// holding the original. None is made where "No NDR Generation" says so. A message from the
// postmaster, or one that is an automatic reply, goes to bad mail instead, so that bounces never
// circle. The message file is on the disk before its command file appears; where one of them can't
// be written the message that could not be delivered stays in the queue.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Answers the sender of `message` that `recipientItem` could not be served because of `reasonText`.
//
// 1  the matter is settled: a bounce is written, there is to be none, or the message went to bad
//    mail
// 0  no bounce could be made. Without the SMTP provider bad mail keeps a copy of the message
//
// On the worker thread of the message.
std::int32_t GenerateNDR(ConnectorMessage& message, const std::string& recipientItem,
                         std::string_view reasonText);

}  // namespace corvane
