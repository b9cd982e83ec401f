// StoredSettings.h -- puts values below the product key into the process's settings store.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>

#include "connector/settings/SettingKeys.h"
#include "connector/settings/SettingsTable.h"
#include "platform/SettingsStore.h"

namespace corvane::test {

// `key` as "CONNECTORS\\SF"; "." is the product key itself.
inline void StoreSetting(std::string_view name, std::uint32_t value, std::string_view key = ".") {
  EXPECT_TRUE(platform::SettingsStore::Default().SetDword(settings::WholeKey(key), name, value));
}
inline void StoreSetting(std::string_view name, std::string_view value,
                         std::string_view key = ".") {
  EXPECT_TRUE(platform::SettingsStore::Default().SetString(settings::WholeKey(key), name, value));
}

// A declared setting.
inline void StoreSetting(const settings::DwordSetting& setting, std::uint32_t value) {
  StoreSetting(setting.name, value, WholeKey(setting.key));
}
inline void StoreSetting(const settings::TextSetting& setting, std::string_view value) {
  StoreSetting(setting.name, value, WholeKey(setting.key));
}

}  // namespace corvane::test
