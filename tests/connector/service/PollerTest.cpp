// PollerTest.cpp -- the sweep: its order, its waits, what it takes and what it leaves, on a virtual
// clock.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <tuple>

#include "connector/settings/ProcessState.h"
#include "connector/settings/Settings.h"
#include "platform/FaultInjection.h"
#include "platform/File.h"
#include "platform/Machine.h"
#include "platform/SettingsStore.h"
#include "tests/connector/service/PollerFixture.h"
#include "tests/support/AsNobody.h"
#include "tests/support/StoredSettings.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;
using Trace = std::vector<std::string>;

constexpr const char* kOne = "ONE.MAI";
constexpr const char* kTwo = "TWO.MAI";
const std::string kHeld = " for sending. Another process is currently accessing the message file.";

class PollerTest : public PollerFixture {
 protected:
  // A trace behind the lines of the start.
  static Trace Sweeps(Trace trace) {
    while (!trace.empty() && !trace.front().starts_with("wait ")) trace.erase(trace.begin());
    return trace;
  }
  [[nodiscard]] std::string Empty() const {
    return "Spooling Queue (" + Directory().Path() + "\\SF\\Outgoing\\*.MAI) is empty.";
  }
  static std::string Unable(const std::string& name) {
    return "Unable to lock message " + name + kHeld;
  }
  static std::string Locked(const std::string& name) {
    return "Message " + name + " locked for delivery.";
  }
  static std::string Delivering(const std::string& name, int recipients) {
    return "Delivering " + name + " to message store (" + std::to_string(recipients) +
           " Recipients)";
  }
};

TEST_F(PollerTest, AnEmptyQueueIsToldAndCounted) {
  Set("Outbound Poll Delay", 700, kSf);
  Set("Maximum Pickup Threads", 4, kSf);
  Set("Outgoing Poll Interval", 7, kSf);
  const Trace expected = {
      "Initialised Postoffice Connector on " + platform::ComputerName(),
      "Outbound Poll Interval: 7 seconds. (Outbound message queue will be polled every 7 seconds "
      "for new messages after a queue sweep)",
      "Max Send Theads: 4 threads. (Postoffice Connector will deliver up to 4 messages at a time)",
      "Outbound Poll Delay: 700 milliseconds. (Postoffice Connector will wait for 700 milliseconds "
      "after each queue sweep.)",
      "wait 7000",
      Empty(),
      "wait 7000",
      Empty(),
  };
  EXPECT_EQ(Poll(2), expected);
  EXPECT_EQ(settings::Find(settings::kServiceStart), kNow);
  EXPECT_EQ(settings::Find(settings::kOutboundQueueLastPoll), kNow + 14);
  EXPECT_EQ(settings::Find(settings::kOutboundQueueLength), 0U);
  EXPECT_EQ(settings::Find(settings::kOutboundQueueItemMaxAge), 0U);
  EXPECT_TRUE(events_.all.empty());
}

TEST_F(PollerTest, AnotherNodesMessageIsLeftAsItIsWithoutAWait) {
  Put(kOne, {.status = "Delivering", .server = "OTHER", .timeAcquired = kNow});
  const std::string before = Command(kOne);
  EXPECT_EQ(Sweeps(Poll(2)), (Trace{"wait 1000", Unable(kOne), "wait 1000"}));
  EXPECT_EQ(Command(kOne), before);
}

TEST_F(PollerTest, AMessageIsTakenAtItsSecondDeliveredAndGone) {
  Set("Outgoing Poll Interval", 10, kSf);
  Set("Reset Messages On Restart", 0U, kSf);
  Put(kOne, {.nextSendTime = kNow + 20});
  EXPECT_EQ(Sweeps(Poll(4)), (Trace{"wait 10000", Unable(kOne), "wait 10000", Locked(kOne),
                                    Delivering(kOne, 0), "wait 50", "wait 10000", Empty()}));
  EXPECT_FALSE(IsQueued(kOne));
  EXPECT_FALSE(HasMessageFile(kOne));
  EXPECT_EQ(settings::ActiveDeliveryThreads(), 0);
}

TEST_F(PollerTest, AtTheThreadLimitTheSweepStaysOnItsFile) {
  Set("Maximum Pickup Threads", 3, kSf);
  Set("Outbound Poll Delay", 700, kSf);
  Set("Post Delivery Thread Creation Delay", 20, kSf);
  Put(kOne, {});
  busyPlaces_ = 3;
  settings::ActiveDeliveryThreads() = 3;
  std::optional<std::uint32_t> length;
  const auto change = [&](int wait) {
    if (wait == 2) test::StoreSetting("Outbound Poll Delay", 900, kSf);
    if (wait == 3) test::StoreSetting("Maximum Pickup Threads", 4, kSf);
    if (wait == 5) length = settings::Find(settings::kOutboundQueueLength);
  };
  EXPECT_EQ(Sweeps(Poll(5, change)), (Trace{"wait 1000", "wait 700", "wait 900", Locked(kOne),
                                            Delivering(kOne, 0), "wait 20", "wait 1000", Empty()}));
  EXPECT_FALSE(IsQueued(kOne));
  EXPECT_EQ(length, 3U) << "two waits and one file";
}

TEST_F(PollerTest, WithoutAPollDelayItWaitsForAWorkersEnd) {
  Set("Maximum Pickup Threads", 1, kSf);
  Set("Outbound Poll Delay", 0U, kSf);
  Put(kOne, {});
  std::thread worker;
  const auto start = [&](int wait) {
    if (wait != 1) return;
    settings::ActiveDeliveryThreads() = 1;
    worker = std::thread([] { settings::ActiveDeliveryThreads() = 0; });
  };
  EXPECT_EQ(Sweeps(Poll(2, start)),
            (Trace{"wait 1000", Locked(kOne), Delivering(kOne, 0), "wait 50"}));
  worker.join();
}

TEST_F(PollerTest, TheStopEndsTheSweepBeforeTheNextFile) {
  Put(kOne, {});
  Put(kTwo, {});
  const Trace trace = Sweeps(Poll(2));
  ASSERT_EQ(trace.size(), 4U);
  EXPECT_TRUE(IsQueued(kOne) != IsQueued(kTwo));
  EXPECT_NE(Command(IsQueued(kOne) ? kOne : kTwo).find("Status=Unsent\r\n"), std::string::npos);
  EXPECT_EQ(settings::Find(settings::kOutboundQueueLength), 1U);
}

TEST_F(PollerTest, TheStartTakesBackWhatThisNodeHad) {
  for (const bool reset : {true, false}) {
    Set("Reset Messages On Restart", reset ? 1U : 0U, kSf);
    Put(kOne, {.status = "Delivering", .server = platform::ComputerName()});
    Poll(2);
    EXPECT_EQ(IsQueued(kOne), !reset);
  }
}

TEST_F(PollerTest, AnExpiredMessageThatCannotBeSettledIsTakenOnceAThreshold) {
  Set("Queued Delivery Expiry Status", 1);
  Set("Reset Messages On Restart", 0U, kSf);
  Set("Outgoing Poll Interval", 5400, kSf);
  Put(kOne, {.status = "Delivering", .recipients = "[SF:acme/anna]", .nextSendTime = kNow - 10800});
  const std::string before = Command(kOne);
  const Trace trace = Poll(8);
  EXPECT_EQ(std::count(trace.begin(), trace.end(), Locked(kOne)), 3) << "at 1.5, 4.5 and 7.5 hours";
  EXPECT_EQ(Command(kOne), before);
}

TEST_F(PollerTest, TheGreatestAgeIsThatOfTheSweepBefore) {
  Put(kOne, {.nextSendTime = kNow + 10'000});
  Put(kTwo, {.nextSendTime = kNow + 10'000});
  Set("Reset Messages On Restart", 0U, kSf);
  const auto at = [](std::int64_t seconds) {
    return fs::file_time_type(
        std::chrono::file_clock::from_sys(std::chrono::sys_seconds(std::chrono::seconds(seconds))));
  };
  fs::last_write_time(QueueDirectory() + "/" + kOne,
                      at(kNow - 100) + std::chrono::milliseconds(900));
  fs::last_write_time(QueueDirectory() + "/" + kTwo, at(kNow + 100));
  std::vector<std::uint32_t> ages;
  Poll(4, [&](int wait) {
    if (wait > 1) ages.push_back(settings::Find(settings::kOutboundQueueItemMaxAge).value_or(77));
    if (wait == 2) fs::remove(QueueDirectory() + "/" + kOne);
  });
  EXPECT_EQ(ages, (std::vector<std::uint32_t>{0, 100, 0})) << "100.1 seconds";
}

TEST_F(PollerTest, WhatCannotBeReadIsToldOnceAndStays) {
  // A command file, and its state afterwards; one that stands first in the file stays.
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"no recipients", "Server=\r\nStatus=Unsent\r\n", "Status=Delivering"},
      {"a state alone", "\r\nStatus=Unsent", "Status=Unsent"},
  };
  for (const auto& [name, command, state] : cases) {
    PutText(kOne, command);
    const Trace expected = {
        "wait 1000",
        Locked(kOne),
        "Message ONE.MAI has no recipients that can be read. It stays in the queue.",
        "wait 50",
        "wait 1000",
        Unable(kOne),
        "wait 1000"};
    EXPECT_EQ(Sweeps(Poll(4)), expected) << name;
    EXPECT_NE(Command(kOne).find(state), std::string::npos) << name;
    EXPECT_TRUE(HasMessageFile(kOne));
  }
}

TEST_F(PollerTest, ASweepThatFailsIsToldAndTheNextOneGoesOn) {
  PutText(kOne, "Server=\r\nStatus=Unsent\r\n");
  const auto breakOnce = [](int wait) {
    if (wait == 1) platform::ArmFault({.action = platform::FaultAction::kThrow});
    if (wait == 2) platform::DisarmFault();
  };
  const Trace trace = Sweeps(Poll(3, breakOnce));
  ASSERT_GE(trace.size(), 8U);
  EXPECT_EQ(trace[2], "PollOutboundQueue handled an exception; session will be dropped.");
  EXPECT_EQ(trace[5], "wait 1000");
  EXPECT_EQ(trace[6], Locked(kOne));
  EXPECT_EQ(events_.all.size(), 1U);
}

TEST_F(PollerTest, AMissingQueueIsToldWithTheNextStepAndFoundLater) {
  fs::rename(Directory() / "SF", Directory() / "elsewhere");
  test::WriteBytes(Directory() / "elsewhere/Outgoing/ONE.MAI", "Recipients=\r\nStatus=Unsent\r\n");
  const Trace trace = Poll(3, [&](int wait) {
    if (wait == 2) fs::rename(Directory() / "elsewhere", Directory() / "SF");
  });
  ASSERT_EQ(events_.all.size(), 1U);
  EXPECT_EQ(events_.all[0].text,
            "The outbound queue " + Directory().Path() +
                "\\SF\\Outgoing can't be found: The system cannot find the path specified. Make "
                "the directory, or set 'Connector Root Directory' of CONNECTORS. Each sweep looks "
                "for it again.\n");
  EXPECT_EQ(Sweeps(trace), (Trace{"wait 1000", Empty(), "wait 1000", Locked(kOne),
                                  Delivering(kOne, 0), "wait 50"}));
}

TEST_F(PollerTest, AMissingSettingsStoreIsToldAndNothingIsLost) {
  Put(kOne, {});
  platform::SettingsStore::UsePath(Directory() / "none/settings.db");
  const Trace trace = Poll(2);
  ASSERT_EQ(events_.all.size(), 1U);
  const std::string& told = events_.all[0].text;
  EXPECT_TRUE(told.starts_with("The settings can't be read: " + Directory().Path())) << told;
  EXPECT_NE(told.find("Name the store in CORVANE_SETTINGS"), std::string::npos);
  EXPECT_FALSE(IsQueued(kOne)) << "what was loaded before still counts";
}

TEST_F(PollerTest, AStoreThatCannotBeWrittenCostsTheCountersAndNothingElse) {
  Put(kOne, {});
  Put(kTwo, {});
  fs::permissions(Directory().Path(), fs::perms(0555));
  fs::permissions(Directory() / "settings.db", fs::perms(0444));
  for (const char* folder : {"", "/Messages"}) {
    fs::permissions(QueueDirectory() + folder, fs::perms(0777));
  }
  Trace trace;
  {
    const test::AsNobody nobody;
    platform::SettingsStore::UsePath(Directory() / "settings.db");
    for (const char* name : {kOne, kTwo}) {
      fs::remove(QueueDirectory() + "/" + name);
      Put(name, {});
    }
    trace = Poll(4);
  }
  fs::permissions(Directory().Path(), fs::perms(0755));
  const auto told = std::count_if(trace.begin(), trace.end(), [](const std::string& line) {
    return line.starts_with("CV-IXXXX: Unable to save queue statistics for service.");
  });
  EXPECT_LE(told, 1) << "once in the life of the process";
  EXPECT_FALSE(IsQueued(kOne) || IsQueued(kTwo));
  EXPECT_EQ(settings::Find(settings::kOutboundQueueLastPoll), std::nullopt);
}

}  // namespace
}  // namespace corvane
