// StubProviders.h -- a settings store of the test's own that loads the stub provider libraries, and
// what they are to answer (tests/stubs/StubProvider.cpp).
#pragma once

#include <cstdlib>
#include <string>

#include "tests/support/BuildPlaces.h"
#include "tests/support/StoredSettings.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {

class StubProviders {
 public:
  explicit StubProviders(const std::string& variant = "full") {
    setenv("CORVANE_STUB_ANSWERS", (directory_ / "answers").c_str(), 1);
    setenv("CORVANE_STUB_LOG", LogPath().c_str(), 1);
    platform::SettingsStore::UsePath(directory_ / "settings.db");
    Use(StubLibraries(variant));
  }

  // Another "Application Directory".
  void Use(const std::string& applicationDirectory) {
    StoreSetting("Application Directory", applicationDirectory);
  }
  void Answer(const std::string& lines) { WriteBytes(directory_ / "answers", lines); }
  // The calls so far, one a line.
  [[nodiscard]] std::string Calls() const { return ReadBytes(LogPath()); }
  void ForgetCalls() { WriteBytes(LogPath(), ""); }

 private:
  [[nodiscard]] std::string LogPath() const { return directory_ / "calls"; }
  TemporaryDirectory directory_;
};

}  // namespace corvane::test
