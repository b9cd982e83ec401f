#include "connector/service/WorkerPlaces.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "connector/settings/ProcessState.h"

namespace corvane {
namespace {

constexpr std::chrono::milliseconds kLongestWait{5};

std::mutex mutex;
std::condition_variable placeLeft;
std::uint64_t placesLeft = 0;

}  // namespace

void LeavePlace() {
  settings::ActiveDeliveryThreads().fetch_sub(1);
  {
    const std::lock_guard lock(mutex);
    ++placesLeft;
  }
  placeLeft.notify_one();
}

void WaitForPlace() {
  std::unique_lock lock(mutex);
  const std::uint64_t before = placesLeft;
  placeLeft.wait_for(lock, kLongestWait, [&] { return placesLeft != before; });
}

}  // namespace corvane
