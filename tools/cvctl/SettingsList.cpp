#include "cvctl/SettingsList.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <vector>

#include "connector/settings/KnownSettings.h"
#include "connector/settings/SettingKeys.h"
#include "cvctl/Command.h"
#include "cvctl/Printing.h"
#include "platform/Path.h"

namespace corvane::cvctl {
namespace {

using platform::SettingEntry;
using platform::SettingType;
using settings::KeyKind;
using settings::Setting;

// One line of the list: a declared setting, a stored value, or both.
struct Row {
  std::string key;
  std::string name;
  const Setting* setting = nullptr;
  std::optional<platform::SettingValue> value;
};

const char* TypeName(const Row& row) {
  if (row.value) return SettingTypeName(*row.value);
  return settings::AsNumber(row.setting) != nullptr ? "dword" : "string";
}

std::string DefaultText(const Setting* setting) {
  if (const auto* number = settings::AsNumber(setting)) return std::to_string(number->defaultValue);
  if (const auto* text = settings::AsText(setting)) return text->defaultValue;
  return "";
}

bool IsAtOrBelow(const std::string& key, const std::string& top) {
  if (top.empty()) return true;
  if (!platform::EqualsNoCase(std::string_view(key).substr(0, top.size()), top)) return false;
  return key.size() == top.size() || key[top.size()] == '\\';
}

// A stored value that the list shows without --all: not one of another service's keys.
bool IsOurs(const SettingEntry& entry) {
  bool stored = entry.value.type != SettingType::kNone;
  return stored && settings::KindOfKey(entry.key) == KeyKind::kDeclared;
}

std::vector<Row> DeclaredRows(platform::SettingsStore& store, const std::string& top, bool all) {
  std::vector<Row> rows;
  for (const Setting* setting : settings::AllSettings()) {
    std::string key = settings::WholeKey(setting->key);
    auto value = store.Get(key, setting->name);
    bool shown = setting->read != settings::Read::Written || value || all;
    if (shown && IsAtOrBelow(key, top)) rows.push_back({key, setting->name, setting, value});
  }
  return rows;
}

std::string Folded(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return text;
}

// Relative to the product key, in the spelling of the declared keys where it is one of them.
std::string KeyForPeople(const std::string& wholeKey) {
  for (const Setting* setting : settings::AllSettings()) {
    if (platform::EqualsNoCase(settings::WholeKey(setting->key), wholeKey)) {
      return settings::RelativeKey(setting->key);
    }
  }
  return std::string(settings::RelativeKey(wholeKey));
}

// By key, what is declared before what isn't.
std::vector<Row> CollectRows(platform::SettingsStore& store, const std::string& top, bool all) {
  std::vector<Row> rows = DeclaredRows(store, top, all);
  for (const SettingEntry& entry : store.List(top)) {
    bool declared = settings::FindSetting(entry.key, entry.name) != nullptr;
    bool asked = all || IsOurs(entry) || platform::EqualsNoCase(entry.key, top);
    bool shown = entry.value.type != SettingType::kNone && asked;
    if (!declared && shown) rows.push_back({entry.key, entry.name, nullptr, entry.value});
  }
  for (Row& row : rows) row.key = KeyForPeople(row.key);
  std::stable_sort(rows.begin(), rows.end(),
                   [](const Row& a, const Row& b) { return Folded(a.key) < Folded(b.key); });
  return rows;
}

nlohmann::ordered_json ToJson(const Row& row) {
  nlohmann::ordered_json item = {{"key", row.key}, {"name", row.name}, {"type", TypeName(row)}};
  item["value"] = row.value ? SettingJson(*row.value) : nullptr;
  item["known"] = row.setting != nullptr;
  if (row.setting == nullptr) return item;
  if (const auto* declared = settings::AsNumber(row.setting)) {
    item["default"] = declared->defaultValue;
    item["unit"] = declared->unit;
    item["range"] = {declared->low, declared->high};
  } else {
    item["default"] = DefaultText(row.setting);
  }
  item["takesEffect"] = settings::WhenAChangeWorks(row.setting->read);
  item["meaning"] = row.setting->meaning;
  return item;
}

// Columns but the last are padded to their widest cell, up to a limit that keeps one long path from
// pushing all others aside.
using Cells = std::vector<std::string>;
constexpr std::size_t kWidestColumn = 40;

bool IsMeasure(std::string_view unit) {
  return unit != "switch" && unit != "choice" && unit != "mode" && unit != "target";
}

Cells ToCells(const Row& row) {
  std::string value = row.value ? SettingText(*row.value) : "-";
  if (row.setting == nullptr) return {"? " + row.name, value, "", "", "unknown name"};
  std::string meaning = row.setting->meaning;
  const auto* number = settings::AsNumber(row.setting);
  if (number != nullptr && IsMeasure(number->unit))
    meaning = std::string(number->unit) + ": " + meaning;
  return {"  " + row.name, value, DefaultText(row.setting),
          settings::WhenAChangeWorks(row.setting->read), meaning};
}

std::size_t WidthOf(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

void PrintTable(const std::vector<Row>& rows) {
  std::vector<Cells> lines = {{"  NAME", "VALUE", "DEFAULT", "CHANGE WORKS", "MEANING"}};
  for (const Row& row : rows) {
    lines.push_back(ToCells(row));
    for (std::string& cell : lines.back()) cell = Shown(cell);
  }
  std::vector<std::size_t> widths(lines.front().size(), 0);
  for (const Cells& cells : lines) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      std::size_t limit = i == 0 ? SIZE_MAX : kWidestColumn;
      widths[i] = std::max(widths[i], std::min(WidthOf(cells[i]), limit));
    }
  }
  for (std::size_t line = 0; line < lines.size(); ++line) {
    bool newKey = line == 1 || (line > 1 && rows[line - 1].key != rows[line - 2].key);
    if (newKey) std::printf("\n%s\n", Shown(rows[line - 1].key).c_str());
    std::string text;
    for (std::size_t i = 0; i + 1 < widths.size(); ++i) {
      std::size_t width = WidthOf(lines[line][i]);
      text += lines[line][i] + std::string(width < widths[i] ? widths[i] - width : 0, ' ') + "  ";
    }
    std::printf("%s%s\n", text.c_str(), lines[line].back().c_str());
  }
}

}  // namespace

std::string SettingText(const platform::SettingValue& value) {
  if (value.type == SettingType::kDword) return std::to_string(value.number);
  if (value.type != SettingType::kBinary) return value.bytes;
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (char character : value.bytes) {
    auto byte = static_cast<unsigned char>(character);
    text += {kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return text;
}

const char* SettingTypeName(const platform::SettingValue& value) {
  if (value.type == SettingType::kString) return "string";
  return value.type == SettingType::kBinary ? "binary" : "dword";
}

nlohmann::ordered_json SettingJson(const platform::SettingValue& value) {
  if (value.type == SettingType::kDword) return value.number;
  return SettingText(value);
}

void PrintSettingsList(platform::SettingsStore& store, const std::string& wholeKey, bool all,
                       bool json) {
  std::vector<Row> rows = CollectRows(store, wholeKey, all);
  if (rows.empty() && !wholeKey.empty()) {
    throw Failure(kNotFound, "there is nothing to list in key " + wholeKey +
                                 "; 'cvctl settings list --all' shows what there is");
  }
  if (!json) return PrintTable(rows);
  nlohmann::ordered_json document = nlohmann::ordered_json::array();
  for (const Row& row : rows) document.push_back(ToJson(row));
  PrintJson(document);
}

}  // namespace corvane::cvctl
