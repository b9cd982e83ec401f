// Bad mail: whatever fails on the way there, the message is whole on one side.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "SERVICES/Library/LIBBadMail/BadMail.h"
#include "SERVICES/Library/LIBBadMail/SetMessageFileHeader.h"
#include "platform/File.h"
#include "tests/support/FaultWalk.h"
#include "tests/support/QueueFixture.h"

namespace corvane::test {
namespace {

constexpr const char* kCommand = "Recipients=x\r\nStatus=Delivering\r\n";
constexpr const char* kMessage = "Subject: one\r\n\r\nbody\r\n";
constexpr const char* kKept = "Subject: one\r\nX-CV-BADMAIL: WORD, text\r\n\r\nbody\r\n";

class BadMailTest : public QueueFixture {
 protected:
  BadMailTest() {
    Set("Bad Mail Directory", Bad());
    Prepare();
  }
  void Prepare() const {
    fs::remove_all(Queue());
    fs::remove_all(Bad());
    fs::create_directories(Queue() + "/Messages");
    fs::create_directories(Bad() + "/Messages");
    WriteBytes(CommandFile(), kCommand);
    WriteBytes(MessageFile(), kMessage);
  }
  [[nodiscard]] std::string Bad() const { return Directory() / "badmail"; }
  void Move() { EXPECT_EQ(SystemOutboundMoveToBadMail(Queue(), message_, "WORD, text"), 1); }
  void ExpectPair(const std::string& directory, const std::string& message,
                  const std::string& name = kName) const {
    EXPECT_EQ(ReadBytes(directory + "/" + name), message.empty() ? "" : kCommand);
    EXPECT_EQ(ReadBytes(directory + "/Messages/" + name), message);
  }
};

TEST_F(BadMailTest, MovesBothFilesAndSaysWhy) {
  WriteBytes(Bad() + "/" + kName, "older");
  WriteBytes(Bad() + "/Messages/" + kName, "older");
  Move();
  ExpectPair(Bad(), kKept);
  ExpectPair(Queue(), "");
  EXPECT_FALSE(message_.KeepInQueue);
  Prepare();
  fs::remove_all(Bad());
  Move();
  ExpectPair(Bad(), kKept);
}

TEST_F(BadMailTest, ACopyLeavesTheQueueAsItWas) {
  SystemOutboundCopyToBadMail(Queue(), message_, "WORD, text");
  ExpectPair(Bad(), kKept);
  ExpectPair(Queue(), kMessage);
}

TEST_F(BadMailTest, WithoutOverwriteTheNewOneTakesANewName) {
  WriteBytes(Bad() + "/" + kName, "older");
  MoveMessageFromQueueToBadMail(Queue(), kName, "", false, false);
  EXPECT_EQ(ReadBytes(Bad() + "/" + kName), "older");
  ExpectPair(Queue(), "");
  for (const auto& entry : fs::directory_iterator(Bad() + "/Messages")) {
    ExpectPair(Bad(), kMessage, entry.path().filename());
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(Bad()), {}), 3);
}

TEST_F(BadMailTest, AMessageWithoutItsFileLeavesNothingThere) {
  fs::remove(MessageFile());
  Move();
  EXPECT_FALSE(fs::exists(Bad() + "/" + kName));
  EXPECT_FALSE(message_.KeepInQueue) << "there is nothing to keep";
}

TEST_F(BadMailTest, WhatCannotBePutThereStays) {
  fs::remove_all(Bad());
  WriteBytes(Bad(), "a file");
  Move();
  ExpectPair(Queue(), kMessage);
  EXPECT_TRUE(message_.KeepInQueue);
  message_.KeepInQueue = false;
  Set("Bad Mail Directory", "");
  platform::SetLastError(platform::kErrorNone);
  Move();
  EXPECT_TRUE(message_.KeepInQueue);
  EXPECT_EQ(platform::LastError(), platform::kErrorPathNotFound);
}

TEST_F(BadMailTest, ATargetThatIsHeldStays) {
  WriteBytes(Bad() + "/Messages/" + kName, "held");
  const auto held =
      platform::File::Open(Bad() + "/Messages/" + kName, platform::Access::kRead,
                           platform::kShareRead, platform::Disposition::kOpenExisting);
  Move();
  ExpectPair(Queue(), kMessage);
  EXPECT_FALSE(fs::exists(Bad() + "/" + kName)) << "no half of it either";
  EXPECT_TRUE(message_.KeepInQueue);
}

// At each call that fails or dies, the queue or bad mail has both files whole.
TEST_F(BadMailTest, FaultsLoseNothing) {
  WalkFaults(
      [&] {
        Prepare();
        message_.KeepInQueue = false;
      },
      [&] { Move(); },
      [&](std::uint64_t call) {
        SCOPED_TRACE(call);
        const std::string kept = ReadBytes(Bad() + "/Messages/" + kName);
        const bool inBad =
            ReadBytes(Bad() + "/" + kName) == kCommand && (kept == kKept || kept == kMessage);
        const bool inQueue =
            ReadBytes(CommandFile()) == kCommand && ReadBytes(MessageFile()) == kMessage;
        EXPECT_TRUE(inBad || inQueue);
        if (!message_.KeepInQueue) return;
        EXPECT_FALSE(fs::exists(Bad() + "/" + kName)) << "no half of it there";
        EXPECT_EQ(kept, "");
      });
}

TEST_F(BadMailTest, TheConsoleSaysWhyAHeaderIsNotSet) {
  const auto told = [&] {
    testing::internal::CaptureStdout();
    EXPECT_FALSE(SetMessageFileHeader(MessageFile(), "X-Why", "new", false));
    EXPECT_EQ(ReadBytes(MessageFile()), kMessage);
    return testing::internal::GetCapturedStdout();
  };
  platform::ArmFault({.error = platform::kErrorAccessDenied});
  EXPECT_EQ(told(), "Error: Could not open message file for writing. Error Code: 5\r\n");
  platform::DisarmFault();
  const auto held =
      platform::File::Open(MessageFile(), platform::Access::kRead, platform::kShareRead,
                           platform::Disposition::kOpenExisting);
  EXPECT_EQ(told(),
            "Could not remove original copy of message file. Check if file has readonly set or if "
            "there are permissions issues\r\n");
}

TEST_F(BadMailTest, SetsAHeaderOfAnyFile) {
  const struct {
    std::string name, before, after;
  } cases[] = {
      {"replaced, without a blank too", "A: 1\r\nx-why:old\r\n\r\nb",
       "A: 1\r\nX-Why: new\r\n\r\nb"},
      {"before the blank line", "A: 1\n\nb", "A: 1\nX-Why: new\r\n\nb"},
      {"no blank line", "A: 1", "A: 1\r\nX-Why: new\r\n"},
      {"body stays", "\r\nX-Why: old\r\n", "X-Why: new\r\n\r\nX-Why: old\r\n"},
  };
  const std::string path = Directory() / "file";
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    WriteBytes(path, row.before);
    EXPECT_TRUE(SetMessageFileHeader(path, "X-Why", "new", false));
    EXPECT_EQ(ReadBytes(path), row.after);
  }
  EXPECT_FALSE(SetMessageFileHeader(path + "2", "X-Why", "new", false));
  EXPECT_FALSE(fs::exists(path + "2"));
  EXPECT_TRUE(SetMessageFileHeader(path + "2", "X-Why", "new", true));
  EXPECT_EQ(ReadBytes(path + "2"), "X-Why: new\r\n");
}

}  // namespace
}  // namespace corvane::test
