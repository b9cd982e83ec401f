// SettingsStore.h -- the machine's settings: keys, named values, three types; shared by processes.
//
// A file of SQLite (schema: see SettingsStore.cpp), named by the environment variable
// CORVANE_SETTINGS or /var/lib/corvane/settings.db. Reads are answered from an immutable snapshot
// in memory that is checked for change at every read by comparing a few words of shared memory, so
// that a value "read at each use" costs about a microsecond; a change made by any process is seen
// by the next read. A store that is missing or can't be read answers "absent" to every read, and is
// tried again when it appears.
//
// Keys and value names compare without regard to the case of ASCII letters and keep the spelling of
// their first writing. A key is given whole: "SOFTWARE\...", with or without "HKEY_LOCAL_MACHINE\"
// or "HKLM\" before it; '/' separates like '\'. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane::platform {

enum class SettingType : std::uint8_t { kString = 1, kBinary = 3, kDword = 4 };

struct SettingValue {
  SettingType type = SettingType::kDword;
  std::uint32_t number = 0;  // kDword
  std::string bytes;         // kString without its NUL, kBinary
};

struct SettingEntry {
  std::string key;  // "SOFTWARE\..." in its stored spelling; an entry with an empty name stands for
                    // a key without values
  std::string name;
  SettingValue value;
};

// One step of a change: a value set, a value deleted, a key deleted with everything below it, or a
// key made.
struct SettingChange {
  enum class Kind : std::uint8_t { kSet, kDeleteValue, kDeleteKey, kMakeKey };
  Kind kind = Kind::kSet;
  std::string key;
  std::string name;
  SettingValue value;
};

class SettingsStore {
 public:
  // The store that this process uses. Opened at first use.
  [[nodiscard]] static SettingsStore& Default();
  // Another path for Default(), for tests and tools, before or between uses.
  static void UsePath(std::string_view path);
  // What Default() opens.
  [[nodiscard]] static std::string DefaultPath();

  explicit SettingsStore(std::string_view path);
  ~SettingsStore();
  SettingsStore(const SettingsStore&) = delete;
  SettingsStore& operator=(const SettingsStore&) = delete;

  [[nodiscard]] std::optional<SettingValue> Get(std::string_view key, std::string_view name);
  // The number of a DWORD; a value of another type is absent, as is one of another length.
  [[nodiscard]] std::optional<std::uint32_t> GetDword(std::string_view key, std::string_view name);
  // The text of a string; a value of another type is absent.
  [[nodiscard]] std::optional<std::string> GetString(std::string_view key, std::string_view name);
  // Everything at and below a key, ordered by key, then name.
  [[nodiscard]] std::vector<SettingEntry> List(std::string_view key);

  // All changes or none, durable; makes the store when it isn't there (its directory must be).
  // False leaves LastError and ErrorText().
  [[nodiscard]] bool Apply(const std::vector<SettingChange>& changes);
  [[nodiscard]] bool SetDword(std::string_view key, std::string_view name, std::uint32_t value);
  [[nodiscard]] bool SetString(std::string_view key, std::string_view name, std::string_view value);

  // Whether the store could be opened and read at the last try, and one line saying why not.
  [[nodiscard]] bool Readable();
  [[nodiscard]] std::string ErrorText();

 private:
  struct State;
  State* state_;
};

}  // namespace corvane::platform
