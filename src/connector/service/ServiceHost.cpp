#include "connector/service/ServiceHost.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "connector/logs/Logs.h"
#include "connector/service/ServiceInstall.h"
#include "connector/service/ServiceNames.h"
#include "platform/Path.h"
#include "platform/Reports.h"
#include "platform/ServiceControl.h"
#include "platform/Thread.h"

namespace corvane {
namespace {

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;
constexpr std::int32_t kStartWaitHintMilliseconds = 3000;
constexpr std::size_t kRunStackBytes = 8'000'000;
constexpr std::int64_t kFlushMilliseconds = 1000;
constexpr std::int64_t kHurriedFlushMilliseconds = 100;

// Each behind the program's name.
constexpr std::array<const char*, 3> kUsageLines = {
    " -install          to install the service\n",
    " -remove           to remove the service\n",
    " -debug <params>   to run as a console app for debugging\n",
};

int NoThread(const char* purpose) {
  std::fprintf(stderr, "%s: no thread for %s\n", kProgramName, purpose);
  return kExitFailed;
}

// Runs until the end of the stop routine, whatever the poller still waits for.
int RunToTheEnd(const std::shared_ptr<ServiceRun>& run) {
  platform::GatherConsole();
  if (!platform::StartThread(kRunStackBytes, [run] { run->RunToTheEnd(); })) {
    return NoThread("the poller");
  }
  return run->WaitForEnd();
}

// Somebody at the keyboard waits for no more than the last lines.
void EndAtOnce() {
  platform::FlushConsole(kHurriedFlushMilliseconds);
  std::_Exit(kExitDone);
}

int RunInConsole(const ServiceHooks& hooks) {
  const auto run = std::make_shared<ServiceRun>(hooks, true);
  platform::PrintConsoleF("Debugging %s.\n", kServiceDisplayName);
  const auto stop = [run](int /*signalNumber*/) {
    platform::PrintConsoleF("Stopping %s.\n", kServiceDisplayName);
    run->StopRoutine();
  };
  if (!platform::OnStopSignal(stop, EndAtOnce)) return NoThread("the stop signals");
  return RunToTheEnd(run);
}

int ServiceMain(const ServiceHooks& hooks) {
  const auto run = std::make_shared<ServiceRun>(hooks, false);
  const auto stop = [run](int /*signalNumber*/) {
    run->Status().ReportStatus(ServiceState::kStopPending, 0, 0);
    run->StopRoutine();
  };
  if (!platform::OnStopSignal(stop)) return NoThread("the stop signals");
  run->Status().ReportStatus(ServiceState::kStartPending, 0, kStartWaitHintMilliseconds);
  const int exitCode = RunToTheEnd(run);
  run->Status().ReportStatus(ServiceState::kStopped, exitCode, 0);
  return exitCode;
}

// Without a service manager there is nobody to run for; the user learns what to type instead.
int RefuseToRun() {
  ReportToEventLog(kReportError, kServiceManagerSource, "", kServiceManagerEventId,
                   "StartServiceCtrlDispatcher failed.");
  std::fprintf(stderr, "%s: not started by the service manager; use one of\n", kProgramName);
  for (const char* line : kUsageLines) std::fprintf(stderr, "%s%s", kProgramName, line);
  return kExitFailed;
}

int RunAsService(const ServiceHooks& hooks) {
  for (const char* line : kUsageLines) LogDebugF("%s%s", kProgramName, line);
  LogDebug("\nStartServiceCtrlDispatcher being called.\n");
  LogDebug("This may take several seconds.  Please wait.\n");
  return platform::HasServiceManager() ? ServiceMain(hooks) : RefuseToRun();
}

int Run(std::string_view command, const ServiceHooks& hooks) {
  if (platform::EqualsNoCase(command, "install")) {
    InstallService(ServiceManagerPlace::FromEnvironment());
    return kExitDone;
  }
  if (platform::EqualsNoCase(command, "remove")) {
    RemoveService(ServiceManagerPlace::FromEnvironment());
    return kExitDone;
  }
  if (platform::EqualsNoCase(command, "debug")) return RunInConsole(hooks);
  return RunAsService(hooks);
}

// The first argument without its sign; empty when it has none.
std::string_view Command(int argc, char** argv) {
  const std::string_view argument = argc > 1 ? argv[1] : "";
  const bool signedWord = argument.starts_with('-') || argument.starts_with('/');
  return signedWord ? argument.substr(1) : std::string_view();
}

}  // namespace

int RunServiceHost(int argc, char** argv, const ServiceHooks& hooks) {
  const int exitCode = Run(Command(argc, argv), hooks);
  platform::FlushConsole(kFlushMilliseconds);
  return exitCode;
}

}  // namespace corvane
