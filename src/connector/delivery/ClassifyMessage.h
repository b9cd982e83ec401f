// ClassifyMessage.h -- tells junk, bulk, list and system mail by the message's headers.
#pragma once

#include <cstdint>
#include <string>

#include "connector/delivery/MessageFlags.h"
#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Fills `flags` anew from the message file at `messagePath`. Junk headers count only with
// `junkSetting` 1. Always 1.
//
// The classifier is not built yet: every message is plain mail.
std::int32_t ClassifyMessage(const ConnectorMessage& message, const std::string& messagePath,
                             MessageFlags& flags, std::uint32_t junkSetting);

}  // namespace corvane
