// BadMail.h -- the place for messages that can be neither delivered nor bounced.
//
//   <Bad Mail Directory>\<name>            command file, as it was in the queue
//   <Bad Mail Directory>\Messages\<name>   the message, with the header X-CV-BADMAIL that says why
//
// Bad mail gets its two files, on the disk, before the queue loses its own: whatever fails or dies
// on the way, the message is whole in one of the two. What can't be put there stays in the queue.
// Reasons are a code word, a comma and a text. Any thread that owns the message. Exceptions are
// reported and thrown on.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

inline constexpr std::string_view kBadMailCorruptRecipient =
    "CORRUPTRECIPIENT, Message has corrupt recipients";
inline constexpr std::string_view kBadMailCopyFailed =
    "TRANSFERCOPYFAILED, Message Transfer Copy Failed";
inline constexpr std::string_view kBadMailPostmasterLoop =
    "POSTMASTERLOOP, Postmaster Null Sender Loop Detected";
inline constexpr std::string_view kBadMailNotDeliverable =
    "NOTDELIVERABLE, Sender of message exceeding mailbox quota is the notification address";

// Moves both files of `message` out of `queueDirectory`, replacing what bad mail holds under that
// name. Where that fails the message is marked to stay in the queue, and the debug log says so.
// Always 1.
std::int32_t SystemOutboundMoveToBadMail(const std::string& queueDirectory,
                                         ConnectorMessage& message, std::string_view reason);
// The same for one recipient of several: bad mail gets copies, and the queue keeps its files.
std::int32_t SystemOutboundCopyToBadMail(const std::string& queueDirectory,
                                         ConnectorMessage& message, std::string_view reason);

// Moves the files of that name, or with `copyOnly` copies them. Without `overwrite` a name that
// bad mail holds already gives way to a new one. An empty reason sets no header. Always 1: whoever
// has to know looks for the files.
std::int32_t MoveMessageFromQueueToBadMail(const std::string& queueDirectory,
                                           const std::string& fileName, std::string_view reason,
                                           bool copyOnly, bool overwrite);

}  // namespace corvane
