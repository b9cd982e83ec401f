// SettingsStore.h -- the machine's settings: keys, named values, three types; shared by processes.
//
// A file of SQLite (schema: see SettingsStore.cpp), named by the environment variable
// CORVANE_SETTINGS or /var/lib/corvane/settings.db. Reads are answered from an immutable snapshot
// in memory that is checked for change at every read by comparing a few words of shared memory, so
// that a value "read at each use" costs a fraction of a microsecond; a change made by any process
// is seen by the next read. Readers wait neither for a writer's disk nor for other programs; they
// wait for each other only while one of them reads a changed store anew.
//
// A store that is missing or can't be read answers "absent" to every read, and is looked for again
// every 200 milliseconds. One that goes away or breaks while in use goes on answering with what was
// read last, so that a fault of the disk doesn't change how mail is delivered.
//
// Keys and value names compare without regard to the case of ASCII letters and keep the spelling of
// their first writing. A key is given whole: "SOFTWARE\...", with or without "HKEY_LOCAL_MACHINE\"
// or "HKLM\" before it; '/' separates like '\'. An empty name is the key's default value. Any
// thread; a process that forks must not use the store in the child.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane::platform {

// kNone stands only in the entry of a key that has no values.
enum class SettingType : std::uint8_t { kNone = 0, kString = 1, kBinary = 3, kDword = 4 };

struct SettingValue {
  SettingType type = SettingType::kDword;
  std::uint32_t number = 0;  // kDword
  std::string bytes;         // kString without its NUL, kBinary

  [[nodiscard]] static SettingValue Dword(std::uint32_t number);
  [[nodiscard]] static SettingValue String(std::string_view text);
  [[nodiscard]] static SettingValue Binary(std::string_view bytes);
  bool operator==(const SettingValue&) const = default;
};

struct SettingEntry {
  std::string key;  // "SOFTWARE\..." in its stored spelling
  std::string name;
  SettingValue value;  // of type kNone, with an empty name: the key has no values
  bool operator==(const SettingEntry&) const = default;
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
  // Another path for Default(), for tests and tools, while no other thread uses it.
  static void UsePath(std::string_view path);
  // What Default() opens.
  [[nodiscard]] static std::string DefaultPath();

  explicit SettingsStore(std::string_view path);
  ~SettingsStore();
  SettingsStore(const SettingsStore&) = delete;
  SettingsStore& operator=(const SettingsStore&) = delete;

  [[nodiscard]] std::optional<SettingValue> Get(std::string_view key, std::string_view name);
  // The number of a DWORD, or of a binary value of exactly four bytes, the lowest first; any other
  // value is absent.
  [[nodiscard]] std::optional<std::uint32_t> GetDword(std::string_view key, std::string_view name);
  // The text of a string; a value of another type is absent.
  [[nodiscard]] std::optional<std::string> GetString(std::string_view key, std::string_view name);
  // Everything at and below a key, or everything for an empty key: ordered by key, a key before the
  // keys below it, then by name.
  [[nodiscard]] std::vector<SettingEntry> List(std::string_view key);

  // All changes or none, durable; makes the store when it isn't there (its directory must be).
  // What is deleted need not be there. False leaves ErrorText() and LastError: 3 no such directory,
  // 5 or 19 not writable, 32 busy for five seconds, 87 an empty key, 112 disk full, 1392 damaged.
  [[nodiscard]] bool Apply(const std::vector<SettingChange>& changes);
  [[nodiscard]] bool SetDword(std::string_view key, std::string_view name, std::uint32_t value);
  [[nodiscard]] bool SetString(std::string_view key, std::string_view name, std::string_view value);
  // SetDword for counters: whole and seen at once by everybody, but without a flush, so that a
  // power failure may take back the last ones; makes no store, and gives up after a fifth of a
  // second (32) when another program holds it.
  [[nodiscard]] bool NoteDword(std::string_view key, std::string_view name, std::uint32_t value);

  // Whether the store could be opened and read at the last try (false leaves LastError), and one
  // line saying why not, or why the last Apply failed.
  [[nodiscard]] bool Readable();
  [[nodiscard]] std::string ErrorText();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace corvane::platform
