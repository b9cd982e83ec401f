#include "tests/support/SettingsFixture.h"

#include "connector/settings/ConnectorSettings.h"
#include "connector/settings/Settings.h"
#include "tests/support/StoredSettings.h"

namespace corvane::test {
namespace {

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
  StoreSetting(name, value, key);
  Reload();
}

void SettingsFixture::Set(std::string_view name, std::string_view value, std::string_view key) {
  StoreSetting(name, value, key);
  Reload();
}

}  // namespace corvane::test
