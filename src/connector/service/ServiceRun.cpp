#include "connector/service/ServiceRun.h"

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
  CreateLogMutexes();
  LogDebug("Service Starting\n");
  OpenActivityLog();
  OpenDebugLog();
  LogDebug("Service Loading Agents\n");
  status_.ReportStatus(ServiceState::kRunning, 0, 0);
  hooks_.poll();
  LogDebug("Service Completed Loading Agents\n");
}

// A stop that came during the load must not be forgotten.
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

void ServiceRun::StopRoutine() {
  if (!BeginStop()) return;
  status_.ReportStatus(ServiceState::kStopPending, 0, kStopWaitHintMilliseconds);
  settings::StopFlag() = 1;
  platform::SleepFor(kStopWaitMilliseconds);
  hooks_.unloadProviders();
  CloseActivityLog();
  CloseDebugLog();
  ReleaseLogMutexes();
  status_.ReportStatus(ServiceState::kStopped, 0, 0);
  const std::lock_guard lock(mutex_);
  settings::StoppedFlag() = 1;
  stopDone_ = true;
  stopped_.notify_all();
}

void ServiceRun::WaitForStopRoutine() {
  std::unique_lock lock(mutex_);
  stopped_.wait(lock, [this] { return stopDone_ || !stopBegun_; });
}

}  // namespace corvane
