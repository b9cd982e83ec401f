#include "cvctl/Installation.h"

#include "connector/settings/ConnectorSettings.h"
#include "connector/settings/Settings.h"
#include "cvctl/Advice.h"
#include "cvctl/Command.h"
#include "platform/Error.h"
#include "platform/SettingsStore.h"

namespace corvane::cvctl {

void ExpectSettings() {
  auto& store = platform::SettingsStore::Default();
  if (store.Readable()) return;
  const std::int32_t error = platform::LastError();
  const bool missing =
      error == platform::kErrorFileNotFound || error == platform::kErrorPathNotFound;
  throw Failure(kTrouble,
                store.ErrorText() + "; " +
                    (missing ? "set CORVANE_SETTINGS to the settings of an installation, or make "
                               "one with 'cvctl init DIR'"
                             : Advice(error)));
}

void LoadInstallation() {
  const auto root = settings::Find(settings::kConnectorRootDirectory);
  ExpectSettings();
  if (!root || root->empty()) {
    throw Failure(kTrouble,
                  "the settings name no queue; set it with 'cvctl settings set CONNECTORS "
                  "\"Connector Root Directory\" DIR'");
  }
  settings::Hold(settings::kConnectorRootDirectory, *root);
}

std::string QueueRoot() { return settings::ConnectorRootDirectory(); }

}  // namespace corvane::cvctl
