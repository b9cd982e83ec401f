// RewriteDurability.h -- how durable a written index is.
//
// A message that is in the index has no other mark that it was delivered, so the index is on the
// disk before its save counts as done, unless durability was given up for speed.
#pragma once

#include "connector/settings/Settings.h"
#include "platform/WholeFile.h"

namespace corvane {

[[nodiscard]] inline platform::Durability RewriteDurability() {
  return settings::Get(settings::kDeliveryDurability) == 0 ? platform::Durability::kNone
                                                           : platform::Durability::kDataAndName;
}

}  // namespace corvane
