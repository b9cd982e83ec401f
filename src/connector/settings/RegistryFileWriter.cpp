#include <algorithm>
#include <optional>

#include "connector/settings/RegistryFile.h"
#include "connector/settings/RegistryText.h"

namespace corvane::settings {
namespace {

using platform::SettingEntry;
using platform::SettingType;

constexpr std::string_view kHeader = "Windows Registry Editor Version 5.00\r\n";
constexpr std::size_t kLineWidth = 77;

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (char character : text) {
    if (character == '\\' || character == '"') quoted += '\\';
    quoted += character;
  }
  return quoted + "\"";
}

std::string HexByte(unsigned char byte) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  return {kDigits[byte >> 4], kDigits[byte & 15]};
}

// `start` and the bytes, going on in further lines as the format has it.
std::string HexLines(std::string start, std::string_view bytes) {
  std::string lines;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    start += HexByte(static_cast<unsigned char>(bytes[i]));
    if (i + 1 == bytes.size()) break;
    start += ',';
    if (start.size() < kLineWidth) continue;
    lines += start + "\\\r\n";
    start = "  ";
  }
  return lines + start;
}

std::string Number(std::uint32_t number) {
  std::string digits = "dword:";
  for (int shift = 24; shift >= 0; shift -= 8) {
    digits += HexByte(static_cast<unsigned char>(number >> shift));
  }
  return digits;
}

bool HasControls(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char character) { return static_cast<unsigned char>(character) < 0x20; });
}

std::string Value(const std::string& name, const platform::SettingValue& value) {
  if (value.type == SettingType::kDword) return name + Number(value.number);
  if (value.type == SettingType::kBinary) return HexLines(name + "hex:", value.bytes);
  // Line ends and the like would not survive an editor between quotes.
  std::optional<std::string> units;
  if (HasControls(value.bytes)) units = Utf16FromUtf8(value.bytes);
  if (!units) return name + Quoted(value.bytes);
  return HexLines(name + "hex(1):", *units + std::string(2, '\0'));
}

}  // namespace

std::string FormatRegistryFile(const std::vector<SettingEntry>& entries) {
  std::string text(kHeader);
  const std::string* key = nullptr;
  for (const SettingEntry& entry : entries) {
    if (key == nullptr || entry.key != *key) {
      text += "\r\n[HKEY_LOCAL_MACHINE\\" + entry.key + "]\r\n";
      key = &entry.key;
    }
    if (entry.value.type == SettingType::kNone) continue;
    std::string name = entry.name.empty() ? "@" : Quoted(entry.name);
    text += Value(name + "=", entry.value) + "\r\n";
  }
  return text;
}

}  // namespace corvane::settings
