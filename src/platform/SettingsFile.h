// SettingsFile.h -- the settings store's file: its one table, reading it whole, changing it.
//
//   setting
//     key    TEXT     "SOFTWARE\..." in the spelling of its first writing
//     name   TEXT     the value's name; empty for the key's default value
//     type   INTEGER  1 string, 3 binary, 4 DWORD; 0 with an empty name keeps a key without values
//     value           TEXT, BLOB, INTEGER 0 to 4294967295, NULL
//
// The table checks its rows itself, so that other tools can't leave in it what we can't read.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Database.h"
#include "platform/SettingsSnapshot.h"

namespace corvane::platform {

// All settings at one moment. Nothing on failure; `why` says what, without the file's name.
// A database without the table holds no settings.
[[nodiscard]] std::optional<SettingsSnapshot> LoadSettings(Database& database, std::string* why);

// Makes the table where it is missing and carries the changes out in their order. Within a
// transaction of the caller's. False with LastError; `why` as above.
[[nodiscard]] bool ChangeSettings(Database& database, const std::vector<SettingChange>& changes,
                                  std::string* why);

}  // namespace corvane::platform
