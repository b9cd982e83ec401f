// GenerateDSN.h -- tells a sender who asked for it what became of a message.
//
// A notice is a new message in the inbound queue, message file first.
#pragma once

#include <cstdint>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "connector/queue/ConnectorMessage.h"

namespace corvane {

enum class DsnKind : std::uint8_t { kSuccess };

// 1 when a notice was written and queued. 0 when the sender asked for none in `DSNFlags`, the
// setting "DSN Status" isn't 1, or a file could not be written, and none is left then: the delivery
// itself stands. On the worker thread of the message.
[[nodiscard]] std::int32_t GenerateDSN(const ConnectorMessage& message,
                                       const MailboxRecord& mailbox, DsnKind kind);

}  // namespace corvane
