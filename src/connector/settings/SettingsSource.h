// SettingsSource.h -- the raw calls: a value by the words of its key and name.
//
// For keys that are formed at run time; what the table declares is asked for by its entry
// (Settings.h). Keys are whole: "SOFTWARE\Wow6432Node\Corvane\Corvane\CONNECTORS\SF", in any case.
// Results are 1 done, 0 not. Every call asks the store. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>

namespace corvane::settings {

// 1 with the number in `value`; 0 with `value` untouched: key or value missing, an empty key, data
// of another size than four bytes.
std::int32_t ReadSettingDword(const char* key, const char* name, std::uint32_t* value);

// 1 with the text in `buffer` of `size` bytes, cut to fit with its NUL; 0 with an empty `buffer`:
// key or value missing, an empty key, no text. "Software\Corvane" in the key counts as
// "Software\Wow6432Node\Corvane".
std::int32_t ReadSettingString(const char* key, const char* name, char* buffer, std::size_t size);

// Makes the key when needed. 1 once every reader sees it; a power failure may take back the last
// ones.
std::int32_t WriteSettingDword(const char* key, const char* name, std::uint32_t value);

// "Application Directory" with "64" appended: where provider libraries lie. 0 with an empty buffer
// when it is not set.
std::int32_t GetLibraryDirectory(char* buffer, std::size_t size);

}  // namespace corvane::settings
