#include "cvctl/Installation.h"

#include "connector/settings/ConnectorSettings.h"
#include "connector/settings/Settings.h"
#include "cvctl/Command.h"
#include "platform/SettingsStore.h"

namespace corvane::cvctl {

void LoadInstallation() {
  auto& store = platform::SettingsStore::Default();
  const auto root = settings::Find(settings::kConnectorRootDirectory);
  if (!store.Readable()) {
    throw Failure(kTrouble, store.ErrorText() +
                                "; set CORVANE_SETTINGS to the settings of an installation, or "
                                "make one with 'cvctl init DIR'");
  }
  if (!root || root->empty()) {
    throw Failure(kTrouble,
                  "the settings name no queue; set it with 'cvctl settings set CONNECTORS "
                  "\"Connector Root Directory\" DIR'");
  }
  settings::Hold(settings::kConnectorRootDirectory, *root);
}

std::string QueueRoot() { return settings::ConnectorRootDirectory(); }

}  // namespace corvane::cvctl
