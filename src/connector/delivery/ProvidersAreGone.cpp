#include "connector/delivery/ProvidersAreGone.h"

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "connector/settings/ProcessState.h"

namespace corvane {

bool ProvidersAreGone() {
  return settings::StopFlag().load() != 0 && !IsExportPresent("CVAIPO.DLL", "MailboxGet");
}

}  // namespace corvane
