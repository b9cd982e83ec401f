// TemporarySettings.h -- a settings store of a test's own as the process's store, with nothing held
// of earlier tests.
#pragma once

#include <string>

#include "platform/SettingsStore.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {

class TemporarySettings {
 public:
  TemporarySettings() { platform::SettingsStore::UsePath(Path()); }
  ~TemporarySettings() { platform::SettingsStore::UsePath("/nonexistent/settings.db"); }
  TemporarySettings(const TemporarySettings&) = delete;
  TemporarySettings& operator=(const TemporarySettings&) = delete;

  [[nodiscard]] std::string Path() const { return directory_ / "settings.db"; }
  // What stood there counts no longer.
  [[nodiscard]] bool Clear() {
    return Store().Apply({{platform::SettingChange::Kind::kDeleteKey, "SOFTWARE", "", {}}});
  }
  [[nodiscard]] static platform::SettingsStore& Store() {
    return platform::SettingsStore::Default();
  }

 private:
  TemporaryDirectory directory_;
};

}  // namespace corvane::test
