// QueueStatistics.h -- counters that tell administrators how the queue stands.
//
// Each is a DWORD in the settings store, written only when `Update Statistics` is on. A counter
// that can't be written is told once in the life of the process and never stops its caller. Any
// thread.
#pragma once

#include <atomic>
#include <cstdint>

namespace corvane {

inline constexpr const char* kConnectorKey =
    "SOFTWARE\\Wow6432Node\\Corvane\\Corvane\\CONNECTORS\\SF";
inline constexpr const char* kServiceCountersKey =
    "SOFTWARE\\Wow6432Node\\Corvane\\Corvane\\Connectors\\LS\\Counters";

// Writes `value` under `key` and `name`; always 1.
std::int32_t WriteStatistic(const char* key, const char* name, std::uint32_t value);

// A total since the start of the process that all workers add to; each step is written as a
// counter.
class RunningTotal {
 public:
  explicit constexpr RunningTotal(const char* name) : name_(name) {}
  void Increment();
  [[nodiscard]] std::uint32_t Value() const { return total_.load(); }

 private:
  const char* name_;
  std::atomic<std::uint32_t> total_{0};
};

[[nodiscard]] RunningTotal& OutboundDeliveryAttempts();
[[nodiscard]] RunningTotal& OutboundDeliveryCount();

}  // namespace corvane
