#include "connector/service/ServiceStatus.h"

#include <string>

#include "connector/logs/Logs.h"
#include "connector/service/ServiceNames.h"
#include "platform/ServiceControl.h"

namespace corvane {
namespace {

// A state in the words of the service manager's protocol.
std::string StateText(const ServiceStatusRecord& record) {
  std::string text;
  switch (record.State) {
    case ServiceState::kStartPending:
      text = "STATUS=Starting";
      break;
    case ServiceState::kRunning:
      text = "READY=1\nSTATUS=Running";
      break;
    case ServiceState::kStopPending:
      text = "STOPPING=1\nSTATUS=Stopping";
      break;
    case ServiceState::kStopped:
      text = "STOPPING=1\nSTATUS=Stopped";
      break;
  }
  if (record.WaitHint > 0) {
    text += "\nEXTEND_TIMEOUT_USEC=" + std::to_string(std::int64_t{record.WaitHint} * 1000);
  }
  return text;
}

}  // namespace

void ServiceStatus::ReportStatus(ServiceState state, std::int32_t exitCode, std::int32_t waitHint) {
  if (console_) return;
  const std::lock_guard lock(mutex_);
  const bool lasting = state == ServiceState::kRunning || state == ServiceState::kStopped;
  record_.State = state;
  record_.ControlsAccepted = state == ServiceState::kStartPending ? kAcceptNothing : kAcceptStop;
  record_.ExitCode = exitCode;
  record_.WaitHint = waitHint;
  record_.CheckPoint = lasting ? 0 : ++reports_;
  if (!platform::TellServiceManager(StateText(record_))) {
    ReportToEventLog(kReportError, kServiceManagerSource, "", kServiceManagerEventId,
                     "SetServiceStatus");
  }
}

ServiceStatusRecord ServiceStatus::Record() const {
  const std::lock_guard lock(mutex_);
  return record_;
}

}  // namespace corvane
