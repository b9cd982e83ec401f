#include "connector/settings/SettingsCheck.h"

#include <optional>

#include "connector/settings/KnownSettings.h"
#include "connector/settings/SettingKeys.h"

namespace corvane::settings {
namespace {

using platform::SettingEntry;
using platform::SettingType;

std::string Quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

std::string NameOf(const SettingEntry& entry) {
  return "Setting " + Quoted(entry.name) + " of " + std::string(RelativeKey(entry.key));
}

std::string UnknownName(const SettingEntry& entry) {
  std::string line = NameOf(entry) + " is not known and has no effect";
  std::string_view nearest = NearestName(entry.key, entry.name);
  std::vector<std::string_view> elsewhere = KeysOfName(entry.name);
  if (!nearest.empty()) return line + "; did you mean " + Quoted(nearest) + "?";
  if (!elsewhere.empty())
    return line + "; it belongs under " + std::string(elsewhere.front()) + ".";
  return line + ".";
}

std::optional<std::string> CheckNumber(const SettingEntry& entry, const DwordSetting& setting) {
  bool fourBytes = entry.value.type == SettingType::kBinary && entry.value.bytes.size() == 4;
  if (fourBytes) return std::nullopt;
  if (entry.value.type != SettingType::kDword) {
    return NameOf(entry) + " is no number (DWORD); its default " +
           std::to_string(setting.defaultValue) + " counts.";
  }
  bool usual = entry.value.number >= setting.low && entry.value.number <= setting.high;
  if (usual || entry.value.number == setting.defaultValue) return std::nullopt;
  return NameOf(entry) + " is " + std::to_string(entry.value.number) + "; expected is " +
         std::to_string(setting.low) + " to " + std::to_string(setting.high) + " (" + setting.unit +
         ").";
}

std::optional<std::string> CheckText(const SettingEntry& entry, const TextSetting& setting) {
  if (entry.value.type == SettingType::kString) return std::nullopt;
  return NameOf(entry) + " is no text (String); its default " + Quoted(setting.defaultValue) +
         " counts.";
}

std::optional<std::string> CheckEntry(const SettingEntry& entry) {
  const Setting* setting = FindSetting(entry.key, entry.name);
  if (const DwordSetting* number = AsNumber(setting)) return CheckNumber(entry, *number);
  if (const TextSetting* text = AsText(setting)) return CheckText(entry, *text);
  bool ours = KindOfKey(entry.key) == KeyKind::kDeclared && !entry.name.empty();
  return ours ? std::optional(UnknownName(entry)) : std::nullopt;
}

std::optional<std::string> CheckKey(const std::string& key) {
  if (KindOfKey(key) != KeyKind::kForeign) return std::nullopt;
  std::string_view nearest = NearestKey(key);
  if (nearest.empty()) return std::nullopt;
  return "Key " + std::string(RelativeKey(key)) + " is not known; did you mean " +
         std::string(RelativeKey(nearest)) + "?";
}

}  // namespace

std::vector<std::string> CheckSettings(platform::SettingsStore& store) {
  std::vector<std::string> lines;
  std::string key;
  for (const SettingEntry& entry : store.List(WholeKey(Key::Product))) {
    if (entry.key != key) {
      key = entry.key;
      if (auto line = CheckKey(key)) lines.push_back(*line);
    }
    if (auto line = CheckEntry(entry)) lines.push_back(*line);
  }
  return lines;
}

}  // namespace corvane::settings
