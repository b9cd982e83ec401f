// ServiceRun.h -- one life of the connector: its start and stop in their fixed order.
//
// RunRoutine has a thread of its own and lasts until the poller returns; StopRoutine is the stop
// signal's thread's and runs beside it; the main thread waits for the end of either. The stop
// doesn't wait for the poller or for workers beyond its two seconds; what is in delivery by then
// stays in the queue.
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

  // A stop that comes before the poller is started keeps it from starting.
  void RunRoutine();
  // RunRoutine for a thread of its own: an exception out of it is reported and stops the run.
  void RunToTheEnd();
  // The first call stops the run; another one does nothing.
  void StopRoutine();
  // Returns when the stop routine is through, whatever the poller does; or when a run that nobody
  // stopped has ended. The exit code of the process: 1 after an exception, otherwise 0.
  [[nodiscard]] int WaitForEnd();

  [[nodiscard]] ServiceStatus& Status() { return status_; }

 private:
  void ClearFlags();
  bool BeginStop();
  [[nodiscard]] bool StopBegun();

  const ServiceHooks hooks_;
  ServiceStatus status_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool stopBegun_ = false;
  bool stopDone_ = false;
  bool runDone_ = false;
  int exitCode_ = 0;
};

}  // namespace corvane
