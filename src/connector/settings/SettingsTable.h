// SettingsTable.h -- every setting, declared once.
//
// The rows stand in the .inc files beside this one. Readers, `cvctl settings`, the manual's chapter
// and the check at start all come from them; no other file spells a stored name or a default.
//
//   CV_NUMBER(constant, key, name, default, read, low, high, unit, meaning)
//   CV_NUMBER_UNREAD(... read, mark, low ...)   the same with another "unread" mark
//   CV_TEXT(constant, key, name, default, read, meaning)
//   CV_COUNTER(constant, key, name, meaning)
//
// low and high are what makes sense; a value beyond them is used as it stands and reported by the
// check at start.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace corvane::settings {

// The keys, below the product key.
enum class Key : std::uint8_t {
  Product,
  Connectors,
  ConnectorsSf,
  ConnectorsSmtp,
  ConnectorsLsCounters,
  MtaFilter,
  MtaFilterCounters,
  ServicesWebmail,
  ServicesWebmailOptions,
  ServicesImap,
  Providers,
  ProvidersStore,
  ProvidersAuthentication,
  Auditing,
};

// When a value is read, and so when a change works.
enum class Read : std::uint8_t {
  EachUse,  // at every use
  Cached,   // at first use, then held; a stored value equal to the "unread" mark is read again
  Start,    // by LoadConnectorSettings, then held
  StartOfPoller,   // by the poller when it begins, which holds it
  StartOfFilters,  // by each filter pass when it begins, which holds it
  Written,         // a counter: written by the connector, read by others
};

struct Setting {
  Key key;
  const char* name;
  Read read;
  const char* meaning;
};

struct DwordSetting : Setting {
  std::uint32_t defaultValue;
  std::uint32_t low, high;
  const char* unit;
  std::uint32_t unreadMark;  // of a cached value
  std::uint16_t slot;        // its place among the numbers
};

struct TextSetting : Setting {
  const char* defaultValue;
  std::uint16_t slot;  // its place among the texts
};

// A whole key as the settings store takes it, and the part below the product key ("." for itself).
[[nodiscard]] const char* WholeKey(Key key);
[[nodiscard]] const char* RelativeKey(Key key);

// All rows, in the order of their declaration: both kinds, and each.
[[nodiscard]] std::span<const Setting* const> AllSettings();
[[nodiscard]] std::span<const DwordSetting* const> AllNumbers();
[[nodiscard]] std::span<const TextSetting* const> AllTexts();

// 0xFFFFFFFF: no limit, or nothing read yet.
inline constexpr std::uint32_t kAllBits = 0xFFFFFFFF;

namespace table {

enum NumberSlot : std::uint16_t {
#define CV_NUMBER(constant, ...) constant##Slot,
#define CV_NUMBER_UNREAD(constant, ...) constant##Slot,
#define CV_TEXT(constant, ...)
#define CV_COUNTER(constant, ...) constant##Slot,
#include "connector/settings/SettingsRows.inc"
  kNumberSlots
};

enum TextSlot : std::uint16_t {
#define CV_NUMBER(constant, ...)
#define CV_NUMBER_UNREAD(constant, ...)
#define CV_TEXT(constant, ...) constant##Slot,
#define CV_COUNTER(constant, ...)
#include "connector/settings/SettingsRows.inc"
  kTextSlots
};

}  // namespace table

#define CV_NUMBER(constant, key, name, standard, read, low, high, unit, meaning) \
  CV_NUMBER_UNREAD(constant, key, name, standard, read, kAllBits, low, high, unit, meaning)
#define CV_NUMBER_UNREAD(constant, key, name, standard, read, mark, low, high, unit, meaning) \
  inline constexpr DwordSetting constant{{Key::key, name, Read::read, meaning},               \
                                         standard,                                            \
                                         low,                                                 \
                                         high,                                                \
                                         unit,                                                \
                                         mark,                                                \
                                         table::constant##Slot};
#define CV_TEXT(constant, key, name, standard, read, meaning) \
  inline constexpr TextSetting constant{                      \
      {Key::key, name, Read::read, meaning}, standard, table::constant##Slot};
#define CV_COUNTER(constant, key, name, meaning) \
  CV_NUMBER(constant, key, name, 0, Written, 0, kAllBits, "count", meaning)
#include "connector/settings/SettingsRows.inc"

}  // namespace corvane::settings
