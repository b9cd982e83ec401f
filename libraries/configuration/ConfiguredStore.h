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

// The patience of one call: "Configuration Store Wait" from its first question on, with what the
// questions themselves took.
class StoreWait {
 public:
  StoreWait();
  // Waits a little; false when the time is over.
  [[nodiscard]] bool GoOn() const;

 private:
  std::int64_t begun_;
};

// The same for calls whose only other answer is "not there", or whose callers would go on without:
// a store that is out of reach for a moment is waited for. Without a configured store there is
// nothing to wait for.
template <typename Query>
[[nodiscard]] Answer AskStorePatiently(Query&& query) {
  const StoreWait wait;
  Answer answer = AskStore(query);
  while (answer == Answer::kUnreachable && !ConfiguredStorePath().empty() && wait.GoOn()) {
    answer = AskStore(query);
  }
  return answer;
}

}  // namespace corvane::configuration
