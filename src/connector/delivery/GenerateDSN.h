// GenerateDSN.h -- tells a sender who asked for it what became of a message.
#pragma once

#include <cstdint>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "connector/queue/ConnectorMessage.h"

namespace corvane {

enum class DsnKind : std::uint8_t { kSuccess };

// 1 when a notice was written and queued, else 0.
//
// Notices are not built yet: nothing is sent.
[[nodiscard]] std::int32_t GenerateDSN(const ConnectorMessage& message,
                                       const MailboxRecord& mailbox, DsnKind kind);

}  // namespace corvane
