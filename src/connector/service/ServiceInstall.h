// ServiceInstall.h -- places the connector with the service manager and takes it away.
//
// Both print what came of it on the console, with the last error where something failed, and leave
// nothing half done: a unit that can't be enabled is removed again.
#pragma once

#include <string>

namespace corvane {

// Where the service manager keeps units and which program speaks to it.
struct ServiceManagerPlace {
  std::string unitDirectory = "/etc/systemd/system";
  std::string controlProgram = "systemctl";

  // The same, with the environment variables CORVANE_UNIT_DIRECTORY and CORVANE_SYSTEMCTL in
  // place.
  [[nodiscard]] static ServiceManagerPlace FromEnvironment();
};

void InstallService(const ServiceManagerPlace& place);
void RemoveService(const ServiceManagerPlace& place);

// The unit that InstallService writes; starts `program` at boot, with the settings store that
// `settingsStore` names if it isn't empty.
[[nodiscard]] std::string ServiceUnit(const std::string& program, const std::string& settingsStore);

}  // namespace corvane
