// SettingsList.h -- cvctl settings list: declared settings beside what is stored.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "platform/SettingsStore.h"

namespace corvane::cvctl {

// Prints the settings at and below `wholeKey` (empty: everywhere). `all` adds keys that aren't ours
// and counters that were never written.
void PrintSettingsList(platform::SettingsStore& store, const std::string& wholeKey, bool all,
                       bool json);

// A value as people read it: a number in decimal, a text as it stands, bytes in hexadecimal.
[[nodiscard]] std::string SettingText(const platform::SettingValue& value);

// "dword", "string" or "binary", and the value: a number, else SettingText.
[[nodiscard]] const char* SettingTypeName(const platform::SettingValue& value);
[[nodiscard]] nlohmann::ordered_json SettingJson(const platform::SettingValue& value);

}  // namespace corvane::cvctl
