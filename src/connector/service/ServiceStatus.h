// ServiceStatus.h -- what the service manager is told of the connector's state.
//
// Reported by the main thread and by the thread that stops it; one mutex keeps the record whole.
#pragma once

#include <cstdint>
#include <mutex>

namespace corvane {

enum class ServiceState : std::int32_t {
  kStopped = 1,
  kStartPending = 2,
  kStopPending = 3,
  kRunning = 4,
};

inline constexpr std::int32_t kAcceptNothing = 0;
inline constexpr std::int32_t kAcceptStop = 1;

struct ServiceStatusRecord {
  std::int32_t Type = 16;  // a process of its own
  ServiceState State = ServiceState::kStopped;
  std::int32_t ControlsAccepted = kAcceptNothing;
  std::int32_t ExitCode = 0;
  std::int32_t CheckPoint = 0;
  std::int32_t WaitHint = 0;  // milliseconds until the next report at the latest; 0 none
};

class ServiceStatus {
 public:
  // Under `console` nobody is told and the record stays as it is.
  explicit ServiceStatus(bool console) : console_(console) {}

  // Notes the state and tells the service manager; a report that fails goes to the event log. The
  // checkpoint grows with each, but for running and stopped, where it is 0.
  void ReportStatus(ServiceState state, std::int32_t exitCode, std::int32_t waitHint);

  [[nodiscard]] ServiceStatusRecord Record() const;

 private:
  const bool console_;
  mutable std::mutex mutex_;
  ServiceStatusRecord record_;
  std::int32_t reports_ = 0;
};

}  // namespace corvane
