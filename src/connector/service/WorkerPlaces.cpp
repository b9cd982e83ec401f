#include "connector/service/WorkerPlaces.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "connector/settings/ProcessState.h"

namespace corvane {
namespace {

constexpr std::chrono::milliseconds kLongestWait{5};

struct Places {
  std::mutex mutex;
  std::condition_variable left;
  std::uint64_t timesLeft = 0;
};

// Never destroyed: a worker may leave while the process ends.
Places& ThePlaces() {
  static Places* const places = new Places;
  return *places;
}

}  // namespace

void LeavePlace() {
  Places& places = ThePlaces();
  settings::ActiveDeliveryThreads().fetch_sub(1);
  {
    const std::lock_guard lock(places.mutex);
    ++places.timesLeft;
  }
  places.left.notify_one();
}

TakenPlace::TakenPlace() { settings::ActiveDeliveryThreads().fetch_add(1); }

TakenPlace::~TakenPlace() {
  if (!kept_) LeavePlace();
}

void WaitForPlace() {
  Places& places = ThePlaces();
  std::unique_lock lock(places.mutex);
  const std::uint64_t before = places.timesLeft;
  places.left.wait_for(lock, kLongestWait, [&] { return places.timesLeft != before; });
}

}  // namespace corvane
