// SettingKeys.h -- the ways to write a key.
//
// The registry of a 64-bit machine shows a 32-bit program's keys under Wow6432Node. Exports and
// people leave the node out or put it in; the store always holds it.
#pragma once

#include <string>
#include <string_view>

namespace corvane::settings {

// `key` with its first "Software\Corvane", in any case and with either separator, changed to
// "Software\Wow6432Node\Corvane".
[[nodiscard]] std::string WithBitnessNode(std::string_view key);

// The whole key, as the store takes it, of one that people write: whole
// ("HKEY_LOCAL_MACHINE\SOFTWARE\...", "HKLM\...", "SOFTWARE\...") or below the product key; "." and
// an empty text are the product key itself. Empty for the bare root, which holds no values.
[[nodiscard]] std::string WholeKey(std::string_view key);

// The part of a whole key below the product key, "." for the product key; the key itself when it
// lies elsewhere.
[[nodiscard]] std::string_view RelativeKey(std::string_view wholeKey);

}  // namespace corvane::settings
