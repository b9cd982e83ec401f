// PollerFixture.h -- a queue, the stub providers and a clock that tells a test of every wait.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/HeardEvents.h"
#include "tests/support/SettingsFixture.h"

namespace corvane {

// The state of a queued message, as its command file has it.
struct Queued {
  std::string_view status = "Unsent";
  std::string_view recipients = "";
  std::int64_t nextSendTime = 0;
  std::string_view server = "";
  std::int64_t timeAcquired = 1'699'999'000;
};

class PollerFixture : public test::SettingsFixture {
 protected:
  static constexpr const char* kSf = "CONNECTORS\\SF";
  static constexpr std::int64_t kNow = 1'700'000'000;

  PollerFixture();
  ~PollerFixture() override;

  // Both files of a message, and what they hold; a file that isn't there holds nothing.
  void Put(const std::string& name, const Queued& queued);
  void PutText(const std::string& name, const std::string& command);
  [[nodiscard]] std::string Command(const std::string& name) const;
  [[nodiscard]] bool IsQueued(const std::string& name) const;
  [[nodiscard]] bool HasMessageFile(const std::string& name) const;
  [[nodiscard]] std::string QueueDirectory() const { return Directory() / "SF/Outgoing"; }

  // What the stub libraries answer, and the calls that they got.
  void Answer(const std::string& lines);
  [[nodiscard]] std::string Calls() const;

  // Runs the poller on the calling thread and stops it in its wait number `waits`, from 1. `onWait`
  // is told each number. Returns log lines without their stamp and waits ("wait 1000") in order;
  // before each wait the workers that were started have ended.
  std::vector<std::string> Poll(int waits, const std::function<void(int)>& onWait = nullptr);

  test::HeardEvents events_;
  int busyPlaces_ = 0;  // of ActiveDeliveryThreads, taken by the test

 private:
  class TellingClock : public test::TestClock {
   public:
    void Sleep(std::int64_t milliseconds) override;
    std::thread::id poller;
    std::function<void(std::int64_t)> onSleep;
  };

  TellingClock clock_;
};

}  // namespace corvane
