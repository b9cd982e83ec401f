// QueueStatistics.h -- counters that tell administrators how the queue stands.
//
// Each is a DWORD in the settings store, written only when `Update Statistics` is on. A counter
// that can't be written is told once in the life of the process and never stops its caller. Any
// thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "connector/settings/Settings.h"

namespace corvane {

// Writes one counter; always 1.
std::int32_t WriteStatistic(const settings::DwordSetting& counter, std::uint32_t value);

// A total since the start of the process that all workers add to. One of them at a time writes it
// as a counter; the others leave their step to it, so that none waits for the store and the last
// value written is the total.
class RunningTotal {
 public:
  explicit constexpr RunningTotal(const settings::DwordSetting& counter) : counter_(counter) {}
  void Increment();
  [[nodiscard]] std::uint32_t Value() const { return total_.load(); }

 private:
  const settings::DwordSetting& counter_;
  std::atomic<std::uint32_t> total_{0};
  std::mutex writing_;
};

[[nodiscard]] RunningTotal& OutboundDeliveryAttempts();
[[nodiscard]] RunningTotal& OutboundDeliveryCount();
[[nodiscard]] RunningTotal& InboundDeliveryCount();

}  // namespace corvane
