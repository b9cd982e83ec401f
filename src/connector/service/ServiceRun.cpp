#include "connector/service/ServiceRun.h"

#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/settings/ProcessState.h"
#include "platform/Clock.h"

namespace corvane {
namespace {

constexpr std::int64_t kStopWaitMilliseconds = 2000;
constexpr std::int32_t kStopWaitHintMilliseconds = 5000;

}  // namespace

void ServiceRun::RunRoutine() {
  AttachSharedHelpers();
  hooks_.loadSettings();
  ClearFlags();
  if (StopBegun()) return;
  CreateLogMutexes();
  LogDebug("Service Starting\n");
  OpenActivityLog();
  OpenDebugLog();
  LogDebug("Service Loading Agents\n");
  if (StopBegun()) return;
  status_.ReportStatus(ServiceState::kRunning, 0, 0);
  hooks_.poll();
  LogDebug("Service Completed Loading Agents\n");
}

void ServiceRun::RunToTheEnd() {
  EndException([this] { RunRoutine(); },
               [this](const ExceptionDetails& details) {
                 ReportException(FormatExceptionReport("ServiceMain", CV_HERE, details));
                 {
                   const std::lock_guard lock(mutex_);
                   exitCode_ = 1;
                 }
                 StopRoutine();
               });
  const std::lock_guard lock(mutex_);
  runDone_ = true;
  ended_.notify_all();
}

// The load clears them; a stop that came meanwhile must not be forgotten.
void ServiceRun::ClearFlags() {
  const std::lock_guard lock(mutex_);
  settings::StopFlag() = stopBegun_ ? 1 : 0;
  settings::StoppedFlag() = stopDone_ ? 1 : 0;
}

bool ServiceRun::BeginStop() {
  const std::lock_guard lock(mutex_);
  if (stopBegun_) return false;
  stopBegun_ = true;
  return true;
}

bool ServiceRun::StopBegun() {
  const std::lock_guard lock(mutex_);
  return stopBegun_;
}

void ServiceRun::StopRoutine() {
  if (!BeginStop()) return;
  status_.ReportStatus(ServiceState::kStopPending, 0, kStopWaitHintMilliseconds);
  settings::StopFlag() = 1;
  platform::SleepFor(kStopWaitMilliseconds);
  hooks_.unloadProviders();
  CloseActivityLog();
  CloseDebugLog();
  ReleaseLogMutexes();
  settings::StoppedFlag() = 1;
  status_.ReportStatus(ServiceState::kStopped, 0, 0);
  const std::lock_guard lock(mutex_);
  stopDone_ = true;
  ended_.notify_all();
}

int ServiceRun::WaitForEnd() {
  std::unique_lock lock(mutex_);
  ended_.wait(lock, [this] { return stopDone_ || (runDone_ && !stopBegun_); });
  return exitCode_;
}

}  // namespace corvane
