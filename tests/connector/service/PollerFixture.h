// PollerFixture.h -- a queue, the stub providers and a clock that tells a test of every wait.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "connector/logs/Logs.h"
#include "connector/service/Poller.h"
#include "connector/settings/ProcessState.h"
#include "platform/Reports.h"
#include "tests/support/BuildPlaces.h"
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

  PollerFixture() {
    AttachSharedHelpers();
    std::filesystem::create_directories(QueueDirectory() + "/Messages");
    setenv("CORVANE_STUB_ANSWERS", (Directory() / "answers").c_str(), 1);
    setenv("CORVANE_STUB_LOG", (Directory() / "calls").c_str(), 1);
    Set("Application Directory", test::StubLibraries("full"));
    Set("Mail Root", Directory() / "mail");
    Set("Debug Enabled", 2, kSf);
    Set("Debug Logging Level", 10, kSf);
    Set("Update Statistics", 1);
    EXPECT_TRUE(LoadConfigurationProvider(kPostofficeProvider));
  }
  ~PollerFixture() override {
    UnloadConfigurationProvider(kPostofficeProvider);
    settings::StopFlag() = 0;
    settings::ActiveDeliveryThreads() = 0;
  }

  // Both files of a message, and what they hold; a file that isn't there holds nothing.
  void Put(const std::string& name, const Queued& queued) {
    std::ostringstream text;
    text << "Recipients=" << queued.recipients << "\r\nServer=" << queued.server
         << "\r\nSender=[SMTP:sender@example.com]\r\nRetries=0\r\nNextSendTime="
         << queued.nextSendTime << "\r\nTimeAcquired=" << queued.timeAcquired
         << "\r\nMessageID=" << name << "\r\nStatus=" << queued.status << "\r\n";
    PutText(name, text.str());
  }
  void PutText(const std::string& name, const std::string& command) {
    test::WriteBytes(QueueDirectory() + "/Messages/" + name, "Subject: one\r\n\r\nbody\r\n");
    test::WriteBytes(QueueDirectory() + "/" + name, command);
  }
  [[nodiscard]] std::string Command(const std::string& name) const {
    return test::ReadBytes(QueueDirectory() + "/" + name);
  }
  [[nodiscard]] bool IsQueued(const std::string& name) const {
    return std::filesystem::exists(QueueDirectory() + "/" + name);
  }
  [[nodiscard]] bool HasMessageFile(const std::string& name) const {
    return std::filesystem::exists(QueueDirectory() + "/Messages/" + name);
  }
  [[nodiscard]] std::string QueueDirectory() const { return Directory() / "SF/Outgoing"; }

  // What the stub libraries answer, and the calls that they got.
  void Answer(const std::string& lines) { test::WriteBytes(Directory() / "answers", lines); }
  [[nodiscard]] std::string Calls() const { return test::ReadBytes(Directory() / "calls"); }

  // Runs the poller on the calling thread and stops it in its wait number `waits`, from 1. `onWait`
  // is told each number. Returns log lines without their stamp and waits ("wait 1000") in order;
  // before each wait the workers that were started have ended.
  std::vector<std::string> Poll(int waits, const std::function<void(int)>& onWait = nullptr) {
    settings::StopFlag() = 0;
    int number = 0;
    clock_.poller = std::this_thread::get_id();
    clock_.onSleep = [&](std::int64_t milliseconds) {
      while (settings::ActiveDeliveryThreads() > busyPlaces_) std::this_thread::yield();
      platform::PrintConsoleF("wait %ld\n", static_cast<long>(milliseconds));
      if (++number == waits) settings::StopFlag() = 1;
      if (onWait) onWait(number);
    };
    testing::internal::CaptureStdout();
    PollOutboundQueue();
    while (settings::ActiveDeliveryThreads() > busyPlaces_) std::this_thread::yield();
    clock_.onSleep = [](std::int64_t) {};
    return TraceOf(testing::internal::GetCapturedStdout());
  }

  test::HeardEvents events_;
  int busyPlaces_ = 0;  // of ActiveDeliveryThreads, taken by the test

 private:
  class TellingClock : public test::TestClock {
   public:
    void Sleep(std::int64_t milliseconds) override {
      if (std::this_thread::get_id() == poller) onSleep(milliseconds);
      VirtualClock::Sleep(milliseconds);
    }
    std::thread::id poller;
    std::function<void(std::int64_t)> onSleep;
  };

  static std::vector<std::string> TraceOf(const std::string& printed) {
    constexpr std::size_t kStampSize = std::string_view("MM/DD/YY HH:MM:SS ").size();
    std::vector<std::string> trace;
    std::istringstream lines(printed);
    for (std::string line; std::getline(lines, line);) {
      trace.push_back(line.starts_with("wait ") ? line : line.substr(kStampSize));
    }
    return trace;
  }

  TellingClock clock_;
};

}  // namespace corvane
