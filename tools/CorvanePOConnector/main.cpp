// main.cpp -- the Postoffice Connector: binds the service host to the poller, the settings and the
// providers.
#include <cstdlib>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "connector/service/Poller.h"
#include "connector/service/ServiceHost.h"
#include "connector/settings/ConnectorSettings.h"

int main(int argc, char** argv) {
  const corvane::ServiceHooks hooks{
      .loadSettings =
          [] { corvane::settings::LoadConnectorSettings(corvane::LoadConfigurationProvider); },
      .poll = corvane::PollOutboundQueue,
      .unloadProviders =
          [] {
            corvane::UnloadConfigurationProvider("CVAIPO.DLL");
            corvane::UnloadConfigurationProvider("CVAISM.DLL");
          },
  };
  // Workers may still be at work: nothing that they use is taken down.
  std::_Exit(corvane::RunServiceHost(argc, argv, hooks));
}
