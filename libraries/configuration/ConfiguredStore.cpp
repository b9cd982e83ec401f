#include "configuration/ConfiguredStore.h"

#include <algorithm>

#include "connector/settings/Settings.h"
#include "platform/Clock.h"
#include "platform/Path.h"

namespace corvane::configuration {
namespace {

// As stored now: nothing loads settings into a provider library at start.
std::string Stored(const settings::TextSetting& setting) {
  return settings::Find(setting).value_or("");
}

}  // namespace

std::string ConfiguredStorePath() {
  std::string path = Stored(settings::kConfigurationDatabase);
  if (!path.empty()) return path;
  const std::string directory = Stored(settings::kConfigurationDirectory);
  return directory.empty() ? "" : platform::JoinPath(directory, "configuration.db");
}

std::string MailboxDirectory(const std::string& postoffice, const std::string& mailbox,
                             const std::string& customRoot) {
  if (!platform::IsSafeName(postoffice) || !platform::IsSafeName(mailbox)) return "";
  std::string root = customRoot;
  if (root.empty()) {
    std::string mailRoot = Stored(settings::kMailRoot);
    if (mailRoot.empty()) mailRoot = Stored(settings::kMailRootDirectory);
    if (mailRoot.empty()) return "";
    root = platform::JoinPath(mailRoot, postoffice);
  }
  return platform::JoinPath(platform::JoinPath(root, "MAILROOT"), mailbox);
}

bool AllowsCustomRoots() {
  return settings::Find(settings::kAllowCustomPostofficePaths).value_or(0) == 1;
}

StoreWait::StoreWait() : begun_(platform::CurrentClock().Monotonic()) {}

bool StoreWait::GoOn() const {
  constexpr std::int64_t kStepMilliseconds = 250;
  const std::int64_t passed = platform::CurrentClock().Monotonic() - begun_;
  const std::int64_t left = settings::Get(settings::kConfigurationStoreWait) - passed;
  if (left <= 0) return false;
  platform::SleepFor(std::min(left, kStepMilliseconds));
  return true;
}

ConfigurationStore& TheStore() {
  static ConfigurationStore& store = *new ConfigurationStore;
  return store;
}

}  // namespace corvane::configuration
