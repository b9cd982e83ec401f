// RewriteDurability.h -- how durable a rewritten index is.
//
// Its bytes are on the disk before it takes the old one's place, unless durability was given up for
// speed. A change in place isn't flushed: what a power failure takes of it, the next scan brings
// back.
#pragma once

#include "connector/settings/Settings.h"
#include "platform/WholeFile.h"

namespace corvane {

[[nodiscard]] inline platform::Durability RewriteDurability() {
  return settings::Get(settings::kDeliveryDurability) == 0 ? platform::Durability::kNone
                                                           : platform::Durability::kData;
}

}  // namespace corvane
