// SetMessageHeader.h -- sets one header of a message file in a queue.
//
// The file is shared by all recipients of the message: what changes here is seen by each later one.
// It is rewritten whole under another name and renamed, durable first, so that a reader, a linked
// copy or a crash meets the old file or the new one. Header lines are looked at in pieces of up to
// 4096 bytes; the body is copied inside the kernel and never looked at. A header that already has
// the value rewrites nothing.
#pragma once

#include <cstdint>
#include <string_view>

#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Sets `name` to `value` in the message's file in the outbound queue, or the inbound one when
// `inbound` is set.
//
//   replace   each line that begins with "name: ", in any case, is replaced together with its
//   folded rest; without such a line
//             the header is added before the blank line, or at the end of a file that has none,
//             with the line ends that it lacks. Otherwise the header is put first.
//
// A rewritten file of the outbound queue is noted in `message` as flushed, when it was.
//
// 1, or 0 when a file would not open or the writing failed: the queue file is unchanged then.
[[nodiscard]] std::int32_t SetMessageHeader(ConnectorMessage& message, std::string_view name,
                                            std::string_view value, bool inbound, bool replace);

}  // namespace corvane
