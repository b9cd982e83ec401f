// The claim: who may take a message, and what becomes of its command file byte for byte.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "connector/queue/OutgoingClaim.h"
#include "platform/FileSystem.h"
#include "platform/WholeFile.h"
#include "tests/support/FaultWalk.h"
#include "tests/support/QueueFixture.h"

namespace corvane::test {
namespace {

class OutgoingClaimTest : public QueueFixture {
 protected:
  void Put(std::string_view text) const { WriteBytes(CommandFile(), text); }
  [[nodiscard]] std::int32_t Lock() const {
    return LockOutgoingCommandFile(Queue().c_str(), kName, "Delivering", "NODE1");
  }
};

// A power cut can leave the new text cut at the old length: what would lose its state so is made
// longer first.
TEST_F(OutgoingClaimTest, WhatIsWrittenInPlaceKeepsItsStateWhenItIsCut) {
  const std::string before = "Recipients=[SF:a/b]\r\nServer=\r\nStatus=Unsent\r\n";
  const auto claimed = [](const std::string& server) {
    return "Recipients=[SF:a/b]\r\nServer=" + server + "\r\nStatus=Delivering\r\n";
  };
  for (std::size_t length = 1; length <= 30; ++length) {
    SCOPED_TRACE(length);
    const std::string server(length, 'N');
    const auto lock = [&] {
      return LockOutgoingCommandFile(Queue().c_str(), kName, "Delivering", server.c_str());
    };
    const std::string after = claimed(server);
    const bool keepsState = after.substr(0, before.size()).find("\nStatus=") != std::string::npos;
    Put(before);
    platform::ArmFault({.number = 100, .calls = platform::FileCallBit(platform::FileCall::kFlush)});
    EXPECT_EQ(lock(), 1);
    EXPECT_EQ(platform::CountedFileCalls(), keepsState ? 1U : 2U);
    platform::DisarmFault();
    EXPECT_EQ(ReadBytes(CommandFile()), after);
    if (keepsState) continue;
    Put(before);
    platform::ArmFault({.number = 2,
                        .action = platform::FaultAction::kThrow,
                        .calls = platform::FileCallBit(platform::FileCall::kWrite)});
    EXPECT_THROW(static_cast<void>(lock()), platform::FaultStop);
    platform::DisarmFault();
    EXPECT_TRUE(ReadBytes(CommandFile()).starts_with(before + "\r"));
    EXPECT_EQ(lock(), 1) << "what was stopped there is taken again";
    EXPECT_TRUE(ReadBytes(CommandFile()).starts_with(after));
  }
}

// The virtual clock of the fixture stands at 1,700,000,000.
const std::string kLong = "Recipients=" + std::string(30'000, 'r') + "\r\n";
const struct {
  std::string name, before;
  std::int32_t result;
  std::string after;
} kClaims[] = {
    {"DueIsTaken", "Server=OLD\r\nStatus=Unsent\r\n", 1, "Server=NODE1\r\nStatus=Delivering\r\n"},
    {"LastLineNeedsNoEnd", "Recipients=[SF:a/b]\r\nServer=\r\nStatus=Unsent", 1,
     "Recipients=[SF:a/b]\r\nServer=NODE1\r\nStatus=Delivering"},
    {"FutureIsLeft", "NextSendTime=1700000001\r\nStatus=Unsent\r\n", 0,
     "NextSendTime=1700000001\r\nStatus=Unsent\r\n"},
    {"NowIsDue", "NextSendTime=1700000000\r\nStatus=Unsent\r\n", 1,
     "NextSendTime=1700000000\r\nStatus=Delivering\r\n"},
    {"LowerCaseState", "Server=\r\nStatus=unsent\r\n", 1, "Server=NODE1\r\nStatus=Delivering\r\n"},
    {"AnyCaseOfTheKeyToo", "Status=Unsent-old\r\nSTATUS=unsent\r\n", 1,
     "Status=Unsent-old\r\nStatus=Delivering\r\n"},
    {"LongServerShortens", "Sender=x\r\nServer=A-VERY-LONG-NAME-OF-A-NODE\r\nStatus=Unsent\r\n", 1,
     "Sender=x\r\nServer=NODE1\r\nStatus=Delivering\r\n"},
    {"NoServerLineIsAdded", "Sender=x\r\nStatus=Unsent\r\n", 1,
     "Sender=x\r\nStatus=Delivering\r\n"},
    {"DeliveringIsLeft", "Server=OTHER\r\nStatus=Delivering\r\n", 0,
     "Server=OTHER\r\nStatus=Delivering\r\n"},
    {"OtherWordIsLeft", "Sender=x\r\nStatus=Held\r\n", 0, "Sender=x\r\nStatus=Held\r\n"},
    {"LeadingStatusStays", "Status=Unsent\r\nServer=\r\n", 1, "Status=Unsent\r\nServer=\r\n"},
    {"StatusBeforeServer", "Sender=x\r\nStatus=Unsent\r\nServer=OLD\r\n", 1,
     "Sender=x\r\nStatus=Delivering\r\nServer=NODE1\r\n"},
    {"TheSearchEndsAtTimeAndState", "NextSendTime=1\r\nStatus=Unsent\r\nServer=OLD\r\n", 1,
     "NextSendTime=1\r\nStatus=Delivering\r\nServer=OLD\r\n"},
    {"KeysInASubjectMeanNothing",
     "Subject=NextSendTime=4000000000 Status=Held\r\nServer=\r\nStatus=Unsent\r\n", 1,
     "Subject=NextSendTime=4000000000 Status=Held\r\nServer=NODE1\r\nStatus=Delivering\r\n"},
    {"TimeBehindBlanksCounts", "  NextSendTime=1700000009\r\nStatus=Unsent\r\n", 0,
     "  NextSendTime=1700000009\r\nStatus=Unsent\r\n"},
    {"TimeThatIsNoNumberIsNow", "NextSendTime=soon\r\nStatus=Unsent\r\n", 1,
     "NextSendTime=soon\r\nStatus=Delivering\r\n"},
    {"Empty", "", 0, ""},
    {"NoLineEnds", "Recipients=[SF:a/b]Status=Unsent", 0, "Recipients=[SF:a/b]Status=Unsent"},
    {"NulBytesStay", std::string("Sender=a\0b\r\nServer=\r\nStatus=Unsent\r\n", 35), 1,
     std::string("Sender=a\0b\r\nServer=NODE1\r\nStatus=Delivering\r\n", 44)},
    {"LongLinesAreKeptWhole", kLong + "Server=\r\nStatus=Unsent\r\n", 1,
     kLong + "Server=NODE1\r\nStatus=Delivering\r\n"},
};

TEST_F(OutgoingClaimTest, TakesWhatIsDueAndChangesNothingElse) {
  for (const auto& row : kClaims) {
    SCOPED_TRACE(row.name);
    Put(row.before);
    EXPECT_EQ(Lock(), row.result);
    EXPECT_EQ(ReadBytes(CommandFile()), row.after);
  }
}

TEST_F(OutgoingClaimTest, AMissingFileIsNotTaken) { EXPECT_EQ(Lock(), 0); }

TEST_F(OutgoingClaimTest, ExpiryTakesStuckMessagesOnlyWhenItIsOn) {
  const std::string_view stuck = "NextSendTime=1699980000\r\nServer=DEAD\r\nStatus=Delivering\r\n";
  Put(stuck);
  EXPECT_EQ(Lock(), 0);
  Set("Queued Delivery Expiry Status", 1);
  EXPECT_EQ(Lock(), 1);
  EXPECT_EQ(ReadBytes(CommandFile()), stuck);
  Put("NextSendTime=1699999000\r\nStatus=Delivering\r\n");
  EXPECT_EQ(Lock(), 0) << "younger than the default threshold of 10800 seconds";
  Set("Queued Delivery Expiry Threshold", 0);
  EXPECT_EQ(Lock(), 1);
}

TEST_F(OutgoingClaimTest, NobodyTakesAnExpiredMessageWhileItsWorkerLives) {
  Set("Queued Delivery Expiry Status", 1);
  Put("NextSendTime=1\r\nServer=NODE1\r\nStatus=Delivering\r\n");
  auto first = OutgoingClaim::Take(Queue(), kName);
  ASSERT_TRUE(first.IsHeld());
  ASSERT_TRUE(first.Commit("Delivering", "NODE1"));
  EXPECT_EQ(Lock(), 0);
  first.Release();
  EXPECT_EQ(Lock(), 1);
}

TEST_F(OutgoingClaimTest, ACommittedClaimKeepsOthersOffAndLetsThemReadAndRemove) {
  Put("Server=\r\nStatus=Unsent\r\n");
  auto claim = OutgoingClaim::Take(Queue(), kName);
  ASSERT_TRUE(claim.IsHeld());
  EXPECT_EQ(Lock(), 0) << "taken, not yet written";
  ASSERT_TRUE(claim.Commit("Delivering", "NODE1"));
  EXPECT_EQ(Lock(), 0);
  EXPECT_TRUE(platform::ReadWholeFile(CommandFile()).has_value());
  EXPECT_TRUE(platform::DeleteFile(CommandFile()));
}

TEST_F(OutgoingClaimTest, ThreadsThatMeetOnAMessageGetItOnce) {
  for (int round = 0; round < 50; ++round) {
    Put("Server=\r\nStatus=Unsent\r\n");
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([&] { taken += Lock(); });
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(taken.load(), 1);
  }
}

// A claim that is cut at any of its file calls leaves the old text or the new one, and is said to
// be taken only with the new.
TEST_F(OutgoingClaimTest, ACutClaimLeavesTheOldTextOrTheNew) {
  const std::string before = "Server=\r\nStatus=Unsent\r\n";
  WalkRewrite(
      CommandFile(), before, "Server=NODE1\r\nStatus=Delivering\r\n", [&] { return Lock() == 1; },
      [&] {
        Put(before);
        EXPECT_EQ(Lock(), 1) << "nothing stands in the way of the next";
      });
}

}  // namespace
}  // namespace corvane::test
