// Settings.h -- what a setting is worth now.
//
//   std::uint32_t most = settings::Get(settings::kMaximumPickupThreads);
//
// Each entry knows when it is read: EachUse asks the store now; Cached asks at first use and holds
// the answer for the life of the process; Start holds what LoadConnectorSettings read, and gives
// the default before that. What the poller and the filters read when they begin, and counters, are
// asked of the store now: the caller holds the answer. A read that fails for any reason gives the
// default. Any thread; held numbers cost one load.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "connector/settings/SettingsTable.h"

namespace corvane::settings {

[[nodiscard]] std::uint32_t Get(const DwordSetting& setting);
[[nodiscard]] std::string Get(const TextSetting& setting);

// What is stored now, whatever the entry's read rule; nothing when it is absent.
[[nodiscard]] std::optional<std::uint32_t> Find(const DwordSetting& setting);
[[nodiscard]] std::optional<std::string> Find(const TextSetting& setting);

// Stores a number without a flush, for counters and for marks that are cleared; false when it can't
// be stored.
[[nodiscard]] bool Note(const DwordSetting& setting, std::uint32_t value);

// How non-delivery messages are made: "No NDR Generation" of the connector; where that is 2, of the
// SMTP connector. A result of 3 counts as 1 for a caller whose flag is 0.
[[nodiscard]] std::uint32_t NdrGenerationMode(std::int32_t callerFlag);

// Whether delivery trains the Bayesian filter: "Bayesian Filtering Status" can be read, whatever it
// is, "Bayesian Training Mode" is 1 and "Bayesian Realtime Training" is not 0. Found once, then
// held.
[[nodiscard]] bool RealtimeTrainingEnabled();
// Ends it for this process and, by a stored 0, for those to come.
void TurnRealtimeTrainingOff();

// For the load at start: what Get gives for an entry read at start from now on.
void Hold(const DwordSetting& setting, std::uint32_t value);
void Hold(const TextSetting& setting, std::string_view value);

// For tests: everything that is held is forgotten, as in a new process.
void ForgetSettings();

}  // namespace corvane::settings
