#include "connector/service/ServiceHost.h"

#include <array>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/service/ServiceInstall.h"
#include "connector/service/ServiceNames.h"
#include "platform/Path.h"
#include "platform/Reports.h"
#include "platform/ServiceControl.h"

namespace corvane {
namespace {

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;
constexpr std::int32_t kStartWaitHintMilliseconds = 3000;

// Each behind the program's name.
constexpr std::array<const char*, 3> kUsageLines = {
    " -install          to install the service\n",
    " -remove           to remove the service\n",
    " -debug <params>   to run as a console app for debugging\n",
};

// The run routine, then the rest of a stop that goes on beside it. A run that ended by an exception
// is stopped in the same order.
int RunToTheEnd(ServiceRun& run) {
  const bool ended =
      EndException([&] { run.RunRoutine(); },
                   [](const ExceptionDetails& details) {
                     ReportException(FormatExceptionReport("ServiceMain", CV_HERE, details));
                   });
  if (!ended) run.StopRoutine();
  run.WaitForStopRoutine();
  return ended ? kExitDone : kExitFailed;
}

bool StopOnSignal(std::function<void()> stop) {
  if (platform::OnStopSignal([stop = std::move(stop)](int /*signalNumber*/) { stop(); })) {
    return true;
  }
  std::fprintf(stderr, "%s: no thread for the stop signals\n", kProgramName);
  return false;
}

int RunInConsole(const ServiceHooks& hooks) {
  const auto run = std::make_shared<ServiceRun>(hooks, true);
  platform::PrintConsoleF("Debugging %s.\n", kServiceDisplayName);
  const bool listening = StopOnSignal([run] {
    platform::PrintConsoleF("Stopping %s.\n", kServiceDisplayName);
    run->StopRoutine();
  });
  return listening ? RunToTheEnd(*run) : kExitFailed;
}

int ServiceMain(const ServiceHooks& hooks) {
  const auto run = std::make_shared<ServiceRun>(hooks, false);
  const bool listening = StopOnSignal([run] {
    run->Status().ReportStatus(ServiceState::kStopPending, 0, 0);
    run->StopRoutine();
  });
  if (!listening) return kExitFailed;
  run->Status().ReportStatus(ServiceState::kStartPending, 0, kStartWaitHintMilliseconds);
  const int exitCode = RunToTheEnd(*run);
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

// The first argument without its sign; empty when it has none.
std::string_view Command(int argc, char** argv) {
  const std::string_view argument = argc > 1 ? argv[1] : "";
  const bool signedWord = argument.starts_with('-') || argument.starts_with('/');
  return signedWord ? argument.substr(1) : std::string_view();
}

}  // namespace

int RunServiceHost(int argc, char** argv, const ServiceHooks& hooks) {
  const std::string_view command = Command(argc, argv);
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

}  // namespace corvane
