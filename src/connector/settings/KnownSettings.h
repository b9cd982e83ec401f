// KnownSettings.h -- finds declared settings by the words that people and files use.
//
// For tools and the check at start; readers use the entries themselves.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "connector/settings/SettingsTable.h"

namespace corvane::settings {

// The entry of a whole key and a name in any case, or null; its kind with the other two.
[[nodiscard]] const Setting* FindSetting(std::string_view wholeKey, std::string_view name);
[[nodiscard]] const DwordSetting* AsNumber(const Setting* setting);
[[nodiscard]] const TextSetting* AsText(const Setting* setting);

// What a key is to us.
enum class KeyKind : std::uint8_t {
  kDeclared,  // entries of ours lie there; other names are mistakes or another service's
  kFamily,    // its names are data: lists and counters
  kForeign,   // none of ours
};
[[nodiscard]] KeyKind KindOfKey(std::string_view wholeKey);

// The declared name of that key that differs from `name` by a slip of the pen, or empty; the same
// for keys.
[[nodiscard]] std::string_view NearestName(std::string_view wholeKey, std::string_view name);
[[nodiscard]] std::string_view NearestKey(std::string_view wholeKey);

// The relative keys under which an entry of that name is declared.
[[nodiscard]] std::vector<std::string_view> KeysOfName(std::string_view name);

// "at once", "at the next start" and the like, for people.
[[nodiscard]] const char* WhenAChangeWorks(Read read);

}  // namespace corvane::settings
