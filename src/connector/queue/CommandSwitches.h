// CommandSwitches.h -- the keys of command files that are there only when a setting asks for them.
#pragma once

#include "connector/settings/Settings.h"

namespace corvane {

[[nodiscard]] inline bool DsnFlagsInUse() { return settings::Get(settings::kDsnStatus) == 1; }
[[nodiscard]] inline bool CampaignInUse() { return settings::Get(settings::kCampaignStatus) == 1; }
[[nodiscard]] inline bool PriorityInUse() {
  return settings::Get(settings::kQueuePrioritization) == 1;
}

}  // namespace corvane
