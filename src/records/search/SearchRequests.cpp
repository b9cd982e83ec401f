#include "records/search/SearchRequests.h"

#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"

namespace corvane {

void RequestSearchItem(const char* object, const std::string& postoffice,
                       const std::string& mailbox, const char* verb, const std::string& folder,
                       const std::string& item) {
  if (settings::Get(settings::kMailboxSearchIndexingEnabled) == 0) return;
  LogDebugF("This build has no search requests. %s %s %s/%s%s %s\n", object, verb,
            postoffice.c_str(), mailbox.c_str(), folder.c_str(), item.c_str());
}

}  // namespace corvane
