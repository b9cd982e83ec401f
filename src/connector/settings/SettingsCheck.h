// SettingsCheck.h -- looks at start for settings that can't mean what their writer meant.
#pragma once

#include <string>
#include <vector>

#include "platform/SettingsStore.h"

namespace corvane::settings {

// One line each, without a line end: a name that isn't known under one of our keys; a key that is
// nearly one of ours; a value of the wrong type or beyond what makes sense. Nothing of it stops the
// connector. Names under keys of other services, counters and list entries are none of our
// business; a store that can't be read holds nothing.
[[nodiscard]] std::vector<std::string> CheckSettings(platform::SettingsStore& store);

}  // namespace corvane::settings
