// ConfiguredStore.h -- the store that the settings name, as the provider libraries of a process use
// it.
#pragma once

#include <cstdint>
#include <string>

#include "configuration/ConfigurationStore.h"

namespace corvane::configuration {

// The path of the store: "Configuration Database" of the key Providers, else configuration.db in
// the "Configuration Directory". Empty when neither is set. Read anew at each call.
[[nodiscard]] std::string ConfiguredStorePath();

// Where a mailbox lies: <Mail Root>\postoffice\MAILROOT\mailbox, with `customRoot` in place of the
// first two when it isn't empty. Empty when there is no mail root, or a name can't be a
// directory's.
[[nodiscard]] std::string MailboxDirectory(const std::string& postoffice,
                                           const std::string& mailbox,
                                           const std::string& customRoot);

// Whether a postoffice may lie outside the mail root, by its option PostofficeRoot.
[[nodiscard]] bool AllowsCustomRoots();
inline constexpr const char* kPostofficeRootOption = "PostofficeRoot";

// The store of this library. Never destroyed: threads may still ask while the process ends.
[[nodiscard]] ConfigurationStore& TheStore();

// TheStore().Ask at the configured path, for calls that can say that the store is out of reach.
template <typename Query>
[[nodiscard]] Answer AskStore(Query&& query) {
  return TheStore().Ask(ConfiguredStorePath(), query);
}

// Waits a little, unless `waitedMilliseconds` has come to "Configuration Store Wait"; moves it on.
[[nodiscard]] bool WaitForStore(std::int64_t& waitedMilliseconds);

// The same for calls whose only other answer is "not there", or whose callers would go on without:
// a store that is out of reach for a moment is waited for. Without a configured store there is
// nothing to wait for.
template <typename Query>
[[nodiscard]] Answer AskStorePatiently(Query&& query) {
  Answer answer = AskStore(query);
  std::int64_t waited = 0;
  while (answer == Answer::kUnreachable && !ConfiguredStorePath().empty() && WaitForStore(waited)) {
    answer = AskStore(query);
  }
  return answer;
}

}  // namespace corvane::configuration
