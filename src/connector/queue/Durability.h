// Durability.h -- how much of what the queue writes is made durable.
//
// `Delivery Durability` at 0 gives up the flushes for those who accept the loss of what a power
// failure catches. Files still appear whole or not at all.
#pragma once

#include <cstdint>

#include "connector/settings/Settings.h"
#include "platform/WholeFile.h"

namespace corvane {

// A command file is some lines of text. What is longer than this is none and stays where it lies.
inline constexpr std::uint64_t kMaximumCommandFileBytes = 64ULL << 20;

[[nodiscard]] inline bool DurabilityOn() {
  return settings::Get(settings::kDeliveryDurability) != 0;
}

[[nodiscard]] inline platform::Durability DeliveryDurability(platform::Durability wanted) {
  return DurabilityOn() ? wanted : platform::Durability::kNone;
}

}  // namespace corvane
