#include "connector/service/ServiceInstall.h"

#include <optional>
#include <vector>

#include "connector/service/ServiceNames.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Format.h"
#include "platform/Machine.h"
#include "platform/Path.h"
#include "platform/Reports.h"
#include "platform/ServiceControl.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

using platform::PrintConsoleF;

constexpr std::size_t kMaximumProgramPath = 512;
constexpr std::size_t kMaximumErrorText = 256;
constexpr std::int64_t kStatePollMilliseconds = 1000;
constexpr const char* kUnitName = "CVPOCS.service";

std::string LastErrorText() {
  const std::int32_t error = platform::LastError();
  std::string text = platform::FormatText("%s (0x%x)", platform::ErrorText(error).c_str(),
                                          static_cast<unsigned>(error));
  return text.size() < kMaximumErrorText ? text : std::string();
}

void PrintFailure(const char* operation) {
  PrintConsoleF("%s failed - %s\n", operation, LastErrorText().c_str());
}

// The store of whoever installs, as the service finds it from another directory.
std::string SettingsStoreOfUnit() {
  const std::string store = platform::EnvironmentVariable("CORVANE_SETTINGS").value_or("");
  return store.empty() ? store : platform::AbsolutePath(store);
}

// States of a unit without a process; a unit that the manager has not heard of is "unknown", and a
// manager that says nothing has none to stop.
bool IsAtRest(std::string_view state) {
  return state.empty() || state == "inactive" || state == "failed" || state == "unknown";
}

class ServiceManager {
 public:
  explicit ServiceManager(const ServiceManagerPlace& place)
      : place_(place), unit_(platform::JoinPath(place.unitDirectory, kUnitName)) {}

  // Whether there is a service manager to speak to.
  [[nodiscard]] bool Open() const {
    if (!platform::DirectoryExists(place_.unitDirectory)) {
      platform::SetLastError(platform::kErrorPathNotFound);
      return false;
    }
    return Tell({"--version"});
  }

  [[nodiscard]] bool HasService() const { return platform::FileExists(unit_); }

  [[nodiscard]] bool CreateService(const std::string& program) const {
    if (HasService()) {
      platform::SetLastError(platform::kErrorServiceExists);
      return false;
    }
    if (!platform::WriteWholeFile(unit_, ServiceUnit(program, SettingsStoreOfUnit()), false)) {
      return false;
    }
    if (Tell({"daemon-reload"}) && Tell({"enable", kUnitName})) return true;
    const std::int32_t error = platform::LastError();
    (void)platform::DeleteFile(unit_);
    platform::SetLastError(error);
    return false;
  }

  [[nodiscard]] bool DeleteService() const {
    return Tell({"disable", kUnitName}) && platform::DeleteFile(unit_) && Tell({"daemon-reload"});
  }

  // The stop control: taken by a service that runs, comes up, or goes down already.
  [[nodiscard]] bool BeginStop() const {
    return !IsAtRest(State()) && Tell({"stop", "--no-block", kUnitName});
  }

  // "active", "activating", "reloading", "deactivating", "inactive", "failed" ...
  [[nodiscard]] std::string State() const {
    const auto result = platform::RunServiceTool(place_.controlProgram, {"is-active", kUnitName});
    if (!result) return "";
    return result->output.substr(0, result->output.find('\n'));
  }

 private:
  [[nodiscard]] bool Tell(const std::vector<std::string>& arguments) const {
    const auto result = platform::RunServiceTool(place_.controlProgram, arguments);
    if (!result) return false;
    if (result->exitCode != 0) platform::SetLastError(platform::kErrorServiceSpecific);
    return result->exitCode == 0;
  }

  const ServiceManagerPlace& place_;
  const std::string unit_;
};

void StopService(const ServiceManager& manager) {
  if (!manager.BeginStop()) return;
  PrintConsoleF("Stopping %s.", kServiceDisplayName);
  platform::SleepFor(kStatePollMilliseconds);
  std::string state = manager.State();
  while (state == "deactivating") {
    platform::PrintConsole(".");
    platform::SleepFor(kStatePollMilliseconds);
    state = manager.State();
  }
  PrintConsoleF(IsAtRest(state) ? "\n%s stopped.\n" : "\n%s failed to stop.\n",
                kServiceDisplayName);
}

// A word as unit files want it: in quotes, with their special characters undone.
std::string Quoted(const std::string& word) {
  std::string text = "\"";
  for (const char c : word) {
    if (c == '"' || c == '\\') text += '\\';
    if (c == '%') text += '%';
    text += c;
  }
  return text + '"';
}

}  // namespace

ServiceManagerPlace ServiceManagerPlace::FromEnvironment() {
  ServiceManagerPlace place;
  if (auto directory = platform::EnvironmentVariable("CORVANE_UNIT_DIRECTORY")) {
    place.unitDirectory = *directory;
  }
  if (auto program = platform::EnvironmentVariable("CORVANE_SYSTEMCTL")) {
    place.controlProgram = *program;
  }
  return place;
}

std::string ServiceUnit(const std::string& program, const std::string& settingsStore) {
  std::string environment;
  if (!settingsStore.empty()) {
    environment = "Environment=" + Quoted("CORVANE_SETTINGS=" + settingsStore) + "\n";
  }
  return platform::FormatText(
      "[Unit]\n"
      "Description=%s\n"
      "After=local-fs.target remote-fs.target\n"
      "\n"
      "[Service]\n"
      "Type=notify\n"
      "UMask=0027\n"
      "StandardOutput=null\n"
      "ExecStart=:%s\n"
      "%s"
      "Restart=on-failure\n"
      "\n"
      "[Install]\n"
      "WantedBy=multi-user.target\n",
      kServiceDisplayName, Quoted(program).c_str(), environment.c_str());
}

void InstallService(const ServiceManagerPlace& place) {
  const std::string program = platform::ProgramPath();
  if (program.empty() || program.size() > kMaximumProgramPath) {
    platform::SetLastError(platform::kErrorFilenameTooLong);
    PrintConsoleF("Unable to install %s - %s\n", kServiceDisplayName, LastErrorText().c_str());
    return;
  }
  const ServiceManager manager(place);
  if (!manager.Open()) return PrintFailure("OpenSCManager");
  if (!manager.CreateService(program)) return PrintFailure("CreateService");
  PrintConsoleF("%s installed.\n", kServiceDisplayName);
}

void RemoveService(const ServiceManagerPlace& place) {
  const ServiceManager manager(place);
  if (!manager.Open()) return PrintFailure("OpenSCManager");
  if (!manager.HasService()) {
    platform::SetLastError(platform::kErrorServiceNotInstalled);
    return PrintFailure("OpenService");
  }
  StopService(manager);
  if (!manager.DeleteService()) return PrintFailure("DeleteService");
  PrintConsoleF("%s removed.\n", kServiceDisplayName);
}

}  // namespace corvane
