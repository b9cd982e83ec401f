// FaultWalk.h -- runs a piece of work once for each place where the file layer can break.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "platform/Error.h"
#include "platform/FaultInjection.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {

// Runs `prepare`, then `work` with its n-th file call failing for a full disk, or stopped there as
// by a death of the process, then `check` with whether the work came to its end; for n = 1, 2 ...
// until n is past the last call. The last round runs unbroken.
inline void WalkFaults(platform::FaultAction action, const std::function<void()>& prepare,
                       const std::function<void()>& work,
                       const std::function<void(std::uint64_t call)>& check) {
  for (std::uint64_t call = 1;; ++call) {
    ASSERT_LT(call, 100U) << "the walk has no end";
    prepare();
    platform::ArmFault({.number = call, .action = action, .error = platform::kErrorDiskFull});
    try {
      work();
    } catch (const platform::FaultStop&) {
    }
    const bool unbroken = platform::CountedFileCalls() < call;
    platform::DisarmFault();
    check(call);
    if (unbroken) {
      ASSERT_GT(call, 1U) << "the work made no file call";
      return;
    }
  }
}

// The same for both: calls that fail, then calls that end the process.
inline void WalkFaults(const std::function<void()>& prepare, const std::function<void()>& work,
                       const std::function<void(std::uint64_t call)>& check) {
  WalkFaults(platform::FaultAction::kFail, prepare, work, check);
  WalkFaults(platform::FaultAction::kThrow, prepare, work, check);
}

// The same for work that turns the file `path` from one text into another and tells whether it did:
// the file holds the one or the other, and the new one when the work says so. Then calls `check`.
inline void WalkRewrite(
    const std::string& path, const std::string& before, const std::string& after,
    const std::function<bool()>& work, const std::function<void()>& check = [] {}) {
  bool done = false;
  WalkFaults(
      [&] {
        done = false;
        WriteBytes(path, before);
      },
      [&] { done = work(); },
      [&](std::uint64_t call) {
        SCOPED_TRACE("call " + std::to_string(call));
        const std::string text = ReadBytes(path);
        EXPECT_TRUE(text == (done ? after : before) || text == after) << text;
        check();
      });
}

}  // namespace corvane::test
