#include "tests/support/SettingsFixture.h"

#include <string>

#include "connector/settings/ConnectorSettings.h"
#include "connector/settings/Settings.h"
#include "platform/SettingsStore.h"

namespace corvane::test {
namespace {

std::string WholeKey(std::string_view key) {
  const std::string product = "SOFTWARE\\Wow6432Node\\Corvane\\Corvane";
  return key == "." ? product : product + "\\" + std::string(key);
}

// Makes what is stored count, as in a new process.
void Reload() {
  settings::ForgetSettings();
  settings::LoadConnectorSettings([](const char*) { return true; });
}

}  // namespace

SettingsFixture::SettingsFixture() {
  platform::SettingsStore::UsePath(directory_ / "settings.db");
  Set("Connector Root Directory", directory_.Path(), "CONNECTORS");
}

SettingsFixture::~SettingsFixture() { settings::ForgetSettings(); }

void SettingsFixture::Set(std::string_view name, std::uint32_t value, std::string_view key) {
  EXPECT_TRUE(platform::SettingsStore::Default().SetDword(WholeKey(key), name, value));
  Reload();
}

void SettingsFixture::Set(std::string_view name, std::string_view value, std::string_view key) {
  EXPECT_TRUE(platform::SettingsStore::Default().SetString(WholeKey(key), name, value));
  Reload();
}

}  // namespace corvane::test
