// Headers of queued messages: what changes and, above all, what doesn't.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "connector/queue/SetMessageHeader.h"
#include "tests/support/FaultWalk.h"
#include "tests/support/QueueFixture.h"

namespace corvane::test {
namespace {

class SetMessageHeaderTest : public QueueFixture {
 protected:
  [[nodiscard]] std::int32_t Replace() {
    return SetMessageHeader(message_, "Return-Path", "<a@b>", false, true);
  }
};

const struct {
  std::string name, before, after;
} kCases[] = {
    {"AddedBeforeTheBlankLine", "A: 1\r\n\r\nbody", "A: 1\r\nReturn-Path: <a@b>\r\n\r\nbody"},
    {"BlankLineKeepsItsEnd", "A: 1\n\nbody\n", "A: 1\nReturn-Path: <a@b>\r\n\nbody\n"},
    {"ReplacedInPlace", "A: 1\r\nReturn-Path: <old>\r\nB: 2\r\n\r\nbody",
     "A: 1\r\nReturn-Path: <a@b>\r\nB: 2\r\n\r\nbody"},
    {"AnyCaseAndEachOne", "RETURN-PATH: x\r\nreturn-path: y\r\n\r\n",
     "Return-Path: <a@b>\r\nReturn-Path: <a@b>\r\n\r\n"},
    {"FoldedRestGoesWithIt", "Return-Path: <old\r\n\tpart>\r\nB: 2\r\n\r\n",
     "Return-Path: <a@b>\r\nB: 2\r\n\r\n"},
    {"SameValueInLfFileStays", "Return-Path: <a@b>\nB: 2\n\nx", "Return-Path: <a@b>\nB: 2\n\nx"},
    {"NotInTheBody", "A: 1\r\n\r\nReturn-Path: <old>\r\n",
     "A: 1\r\nReturn-Path: <a@b>\r\n\r\nReturn-Path: <old>\r\n"},
    {"NoBlankLineGetsOne", "A: 1\r\n", "A: 1\r\nReturn-Path: <a@b>\r\n\r\n"},
    {"LastLineGetsItsEnd", "A: 1", "A: 1\r\nReturn-Path: <a@b>\r\n\r\n"},
    {"MatchWithoutEndGetsOne", "Return-Path: <a@b>", "Return-Path: <a@b>\r\n"},
    {"NoBlankLineInAnLfFile", "A: 1\n", "A: 1\nReturn-Path: <a@b>\r\n\r\n"},
    {"ReplacedWithoutABlankLine", "Return-Path: <old>\r\nA: 1", "Return-Path: <a@b>\r\nA: 1"},
    {"FoldedRestWithoutEnd", "A: 1\r\nReturn-Path: <old>\r\n rest",
     "A: 1\r\nReturn-Path: <a@b>\r\n"},
    {"OtherFoldedLinesStay", "A: 1\r\n Return-Path: <no>\r\n\r\n",
     "A: 1\r\n Return-Path: <no>\r\nReturn-Path: <a@b>\r\n\r\n"},
    {"EmptyFile", "", "Return-Path: <a@b>\r\n\r\n"},
    {"LongLineIsOneLine", "A: " + std::string(4093, 'x') + "Return-Path: <no>\r\n\r\n",
     "A: " + std::string(4093, 'x') + "Return-Path: <no>\r\nReturn-Path: <a@b>\r\n\r\n"},
    {"CrAloneEndsAHeader", "Return-Path: <old>\rA: 1\r\rbody\r",
     "Return-Path: <a@b>\r\nA: 1\r\rbody\r"},
    {"DoubledCrIsALineEnd", "Return-Path: <old>\r\r\nA: 1\r\n\r\n",
     "Return-Path: <a@b>\r\nA: 1\r\n\r\n"},
    {"SameValueBeforeACrStays", "Return-Path: <a@b>\rA: 1\r\rbody",
     "Return-Path: <a@b>\rA: 1\r\rbody"},
    {"LongMatchGoesWhole", "Return-Path: " + std::string(9000, 'x') + "\r\nB: 2\r\n\r\n",
     "Return-Path: <a@b>\r\nB: 2\r\n\r\n"},
};

TEST_F(SetMessageHeaderTest, ChangesTheHeaderAndNothingElse) {
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.name);
    WriteBytes(MessageFile(), row.before);
    EXPECT_EQ(Replace(), 1);
    EXPECT_EQ(ReadBytes(MessageFile()), row.after);
  }
}

// The piece reader's own buffer must not show: headers of every length around its size.
TEST_F(SetMessageHeaderTest, HoldsAtEveryBufferEdge) {
  for (std::size_t length = 4080; length < 4110; ++length) {
    const std::string head = "A: " + std::string(length, 'y') + "\r\n";
    WriteBytes(MessageFile(), head + head + "\r\nbody\r\n");
    ASSERT_EQ(Replace(), 1);
    ASSERT_EQ(ReadBytes(MessageFile()), head + head + "Return-Path: <a@b>\r\n\r\nbody\r\n");
  }
}

TEST_F(SetMessageHeaderTest, AValueThatIsThereRewritesNothing) {
  WriteBytes(MessageFile(), "Return-Path: <a@b>\r\n\r\nbody");
  struct stat before {};
  struct stat after {};
  ASSERT_EQ(stat(MessageFile().c_str(), &before), 0);
  EXPECT_EQ(Replace(), 1);
  ASSERT_EQ(stat(MessageFile().c_str(), &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(SetMessageHeaderTest, PutsFirstWithoutReplaceAndKnowsTheInboundQueue) {
  WriteBytes(MessageFile("Inbound"), "A: 1\r\n\r\n");
  EXPECT_EQ(SetMessageHeader(message_, "X-Mark", "v", true, false), 1);
  EXPECT_EQ(ReadBytes(MessageFile("Inbound")), "X-Mark: v\r\nA: 1\r\n\r\n");
  EXPECT_EQ(Replace(), 0) << "there is no file in the outbound queue";
}

TEST_F(SetMessageHeaderTest, ACutRewriteLeavesTheOldFileOrTheNew) {
  const std::string body(20'000, 'b');
  WalkRewrite(MessageFile(), "A: 1\r\n\r\n" + body, "A: 1\r\nReturn-Path: <a@b>\r\n\r\n" + body,
              [&] { return Replace() == 1; });
}

}  // namespace
}  // namespace corvane::test
