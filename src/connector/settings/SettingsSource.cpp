#include "connector/settings/SettingsSource.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "connector/settings/SettingKeys.h"
#include "connector/settings/Settings.h"
#include "platform/SettingsStore.h"

namespace corvane::settings {
namespace {

using platform::SettingsStore;

bool IsEmpty(const char* text) { return text == nullptr || *text == '\0'; }
std::string_view View(const char* text) { return text == nullptr ? std::string_view() : text; }

std::int32_t CopyText(std::string_view text, char* buffer, std::size_t size) {
  if (buffer == nullptr || size == 0) return 0;
  std::size_t length = std::min({text.size(), text.find('\0'), size - 1});
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
  return 1;
}

std::int32_t NoText(char* buffer, std::size_t size) {
  if (buffer != nullptr && size > 0) *buffer = '\0';
  return 0;
}

}  // namespace

std::int32_t ReadSettingDword(const char* key, const char* name, std::uint32_t* value) {
  if (IsEmpty(key) || value == nullptr) return 0;
  auto stored = SettingsStore::Default().GetDword(key, View(name));
  if (!stored) return 0;
  *value = *stored;
  return 1;
}

std::int32_t ReadSettingString(const char* key, const char* name, char* buffer, std::size_t size) {
  if (IsEmpty(key)) return NoText(buffer, size);
  auto stored = SettingsStore::Default().GetString(WithBitnessNode(key), View(name));
  return stored ? CopyText(*stored, buffer, size) : NoText(buffer, size);
}

std::int32_t WriteSettingDword(const char* key, const char* name, std::uint32_t value) {
  if (IsEmpty(key)) return 0;
  return SettingsStore::Default().NoteDword(key, View(name), value) ? 1 : 0;
}

std::int32_t GetLibraryDirectory(char* buffer, std::size_t size) {
  auto directory = Find(kApplicationDirectory);
  if (!directory || directory->empty()) return NoText(buffer, size);
  return CopyText(*directory + "64", buffer, size);
}

}  // namespace corvane::settings
