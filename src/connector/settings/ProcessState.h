// ProcessState.h -- the few words of state that the whole process shares. Any thread.
#pragma once

#include <atomic>
#include <cstdint>

namespace corvane::settings {

// 1 once the process is told to stop. Cleared by LoadConnectorSettings, set by the stop routine,
// looked at by the poller.
[[nodiscard]] std::atomic<std::int32_t>& StopFlag();

// 1 once the stop routine has come to its end. Cleared by LoadConnectorSettings.
[[nodiscard]] std::atomic<std::int32_t>& StoppedFlag();

// Workers that run now. The poller adds one before it starts a worker; the worker takes it off as
// the last thing that it does.
[[nodiscard]] std::atomic<std::int32_t>& ActiveDeliveryThreads();

}  // namespace corvane::settings
