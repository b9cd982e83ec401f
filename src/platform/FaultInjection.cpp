#include "platform/FaultInjection.h"

#include <cerrno>
#include <csignal>
#include <mutex>

#include "platform/Error.h"

namespace corvane::platform {
namespace {

struct Plan {
  std::mutex mutex;
  Fault fault;
  std::uint64_t counted = 0;
};

Plan& ThePlan() {
  static Plan& plan = *new Plan;
  return plan;
}

std::atomic<bool> stopped{false};

// A value of errno that the layer tells as `error`.
int SystemErrorFor(std::int32_t error) {
  for (int candidate = 1; candidate < 134; ++candidate) {
    if (ErrorFromErrno(candidate) == error) return candidate;
  }
  return EIO;
}

// Counts the call; true when the fault strikes.
bool Strikes(FileCall call, Fault* fault) {
  Plan& plan = ThePlan();
  std::lock_guard lock(plan.mutex);
  if ((plan.fault.calls & FileCallBit(call)) == 0) return false;
  ++plan.counted;
  *fault = plan.fault;
  return plan.counted == plan.fault.number ||
         (plan.fault.lasting && plan.counted > plan.fault.number);
}

}  // namespace

namespace fault {

std::atomic<bool> armed{false};

bool MeetArmed(FileCall call) {
  if (Stopped()) throw FaultStop();
  Fault fault;
  if (!Strikes(call, &fault)) return false;
  if (fault.action == FaultAction::kKill) std::raise(SIGKILL);
  if (fault.action == FaultAction::kThrow) {
    stopped = true;
    throw FaultStop();
  }
  errno = SystemErrorFor(fault.error);
  return true;
}

bool Stopped() { return stopped.load(std::memory_order_relaxed); }

}  // namespace fault

void ArmFault(const Fault& fault) {
  Plan& plan = ThePlan();
  std::lock_guard lock(plan.mutex);
  plan.fault = fault;
  plan.counted = 0;
  stopped = false;
  fault::armed = true;
}

void DisarmFault() {
  fault::armed = false;
  stopped = false;
}

std::uint64_t CountedFileCalls() {
  Plan& plan = ThePlan();
  std::lock_guard lock(plan.mutex);
  return plan.counted;
}

}  // namespace corvane::platform
