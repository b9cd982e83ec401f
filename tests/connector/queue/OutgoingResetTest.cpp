// The reset at start: which messages it takes back, and what becomes of their text.
#include <gtest/gtest.h>

#include <string>

#include "connector/queue/OutgoingClaim.h"
#include "connector/queue/OutgoingReset.h"
#include "tests/support/QueueFixture.h"

namespace corvane::test {
namespace {

class OutgoingResetTest : public QueueFixture {
 protected:
  [[nodiscard]] std::int32_t Reset() const {
    return ResetOutgoingCommandFile(Queue().c_str(), kName, "NODE1", 90);
  }
};

std::string SixtyLines() {
  std::string lines;
  for (int i = 0; i < 60; ++i) lines += "Extra" + std::to_string(i) + "=x\r\n";
  return lines;
}

const char* const kFresh = "TimeAcquired=1700000000\r\n";

const struct {
  std::string name, before;
  std::int32_t result;
  std::string after;
} kCases[] = {
    {"OwnMessageGoesBack",
     "Recipients=[SF:a/"
     "b]\r\nServer=NODE1\r\nRetries=3\r\nNextSendTime=5\r\nTimeAcquired=1699999999\r\n"
     "Status=Delivering\r\n",
     1,
     "Recipients=[SF:a/b]\r\nServer=\r\nRetries=0\r\nNextSendTime=1700000000\r\n"
     "TimeAcquired=1700000000\r\nStatus=Unsent"},
    {"YoungMessageOfAnotherNodeStays",
     "Server=NODE2\r\nTimeAcquired=1699999999\r\nStatus=Delivering\r\n", 1,
     "Server=NODE2\r\nTimeAcquired=1699999999\r\nStatus=Delivering\r\n"},
    {"OldMessageOfAnotherNodeIsTakenOver",
     "Server=NODE2\r\nTimeAcquired=1699994600\r\nStatus=Held\r\n", 1,
     std::string("Server=\r\n") + kFresh + "Status=Unsent"},
    {"OneSecondYoungerStays", "Server=NODE2\r\nTimeAcquired=1699994601\r\nStatus=Held\r\n", 1,
     "Server=NODE2\r\nTimeAcquired=1699994601\r\nStatus=Held\r\n"},
    {"NoTimeNeverAges", "Server=NODE2\r\nTimeAcquired=0\r\nStatus=Held\r\n", 1,
     "Server=NODE2\r\nTimeAcquired=0\r\nStatus=Held\r\n"},
    {"EmptyServerIsALine", "Server=\r\nTimeAcquired=1699999999\r\nStatus=Delivering\r\n", 1,
     "Server=\r\nTimeAcquired=1699999999\r\nStatus=Delivering\r\n"},
    {"ServerNameIsExact", "Server=node1\r\nStatus=Delivering\r\n", 1,
     "Server=node1\r\nStatus=Delivering\r\n"},
    {"WithoutAServerLineItIsNobodys", "Sender=x\r\nStatus=Delivering\r\n", 1,
     "Sender=x\r\nStatus=Unsent"},
    {"WithoutAStateTheResultIsZero", "Sender=x\r\n\r\nRetries=2\r\n", 0,
     "Sender=x\r\nRetries=0\r\n"},
    {"ASubjectIsNotTakenForAKey",
     "Server=NODE1\r\nSubject=Retries=7 NextSendTime=9 Server=NODE2\r\nStatus=Delivering", 1,
     "Server=\r\nSubject=Retries=7 NextSendTime=9 Server=NODE2\r\nStatus=Unsent"},
    {"WhatFollowsTheStateKeepsItsLine",
     "Server=NODE1\r\nStatus=Delivering\r\nRecipients=[SF:a/b]\r\n", 1,
     "Server=\r\nStatus=Unsent\r\nRecipients=[SF:a/b]\r\n"},
    {"EveryLineOfALongFileIsKept",
     "Server=NODE1\r\n" + SixtyLines() + "Recipients=[SF:a/b]\r\nStatus=Delivering\r\n", 1,
     "Server=\r\n" + SixtyLines() + "Recipients=[SF:a/b]\r\nStatus=Unsent"},
};

TEST_F(OutgoingResetTest, ResetsWhatQualifiesAndLeavesTheRest) {
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.name);
    WriteBytes(CommandFile(), row.before);
    EXPECT_EQ(Reset(), row.result);
    EXPECT_EQ(ReadBytes(CommandFile()), row.after);
  }
}

TEST_F(OutgoingResetTest, LeavesAMessageThatAWorkerHolds) {
  WriteBytes(CommandFile(), "Server=\r\nStatus=Unsent\r\n");
  auto claim = OutgoingClaim::Take(Queue(), kName);
  ASSERT_TRUE(claim.Commit("Delivering", "NODE1"));
  const std::string delivering = ReadBytes(CommandFile());
  EXPECT_EQ(Reset(), 1);
  EXPECT_EQ(ReadBytes(CommandFile()), delivering);
  EXPECT_EQ(Clock().Slept(), 9 * 2000) << "ten tries, two seconds apart";
  EXPECT_FALSE(ForceOutgoingReset(Queue().c_str(), kName));
}

TEST_F(OutgoingResetTest, AMissingFileGivesZeroAtOnce) {
  EXPECT_EQ(Reset(), 0);
  EXPECT_EQ(Clock().Slept(), 0);
}

}  // namespace
}  // namespace corvane::test
