// ServiceRun.h -- one life of the connector: its start and stop in their fixed order.
//
// RunRoutine is the main thread's and lasts until the poller returns; StopRoutine is the stop
// signal's thread's and runs beside it. The stop doesn't wait for the poller or for workers beyond
// its two seconds; what is in delivery by then stays in the queue.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <utility>

#include "connector/service/ServiceStatus.h"

namespace corvane {

// What the shell calls of the connector.
struct ServiceHooks {
  std::function<void()> loadSettings;     // settings and provider libraries
  std::function<void()> poll;             // returns once settings::StopFlag() is set
  std::function<void()> unloadProviders;  // workers may still be at work
};

class ServiceRun {
 public:
  ServiceRun(ServiceHooks hooks, bool console) : hooks_(std::move(hooks)), status_(console) {}

  void RunRoutine();
  // The first call stops the run; another one does nothing.
  void StopRoutine();
  // Returns when the stop routine is through, at once when it was never begun.
  void WaitForStopRoutine();

  [[nodiscard]] ServiceStatus& Status() { return status_; }

 private:
  void ClearFlags();
  bool BeginStop();

  const ServiceHooks hooks_;
  ServiceStatus status_;
  std::mutex mutex_;
  std::condition_variable stopped_;
  bool stopBegun_ = false;
  bool stopDone_ = false;
};

}  // namespace corvane
