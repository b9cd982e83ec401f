// Thread.h -- threads with a stack of a given size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace corvane::platform {

inline constexpr std::size_t kWorkerStackBytes = 4'000'000;

// Runs `work` on a thread of its own with a stack of `stackBytes`, detached. A thread that has
// finished is kept for the next start for a while, so that a busy starter pays neither for a new
// thread nor for its first touch of the stack. False when the system has no thread to give
// (LastError 8).
[[nodiscard]] bool StartThread(std::size_t stackBytes, std::function<void()> work);

// The calling thread's number, as log lines print it.
[[nodiscard]] std::int32_t CurrentThreadId();

}  // namespace corvane::platform
