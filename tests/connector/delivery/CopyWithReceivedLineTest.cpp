// CopyWithReceivedLineTest.cpp -- the copy that delivery sends on.
#include <gtest/gtest.h>

#include <string>

#include "connector/delivery/CopyWithReceivedLine.h"
#include "tests/support/FaultWalk.h"
#include "tests/support/QueueFixture.h"
#include "tests/support/TimeZone.h"

namespace corvane::test {
namespace {

class CopyWithReceivedLineTest : public QueueFixture {
 protected:
  CopyWithReceivedLineTest() {
    SetText(newMessage_.Connector, "SF");
    SetText(newMessage_.MessageID, "NEW.MAI");
  }
  [[nodiscard]] std::string Target() const { return Queue("Inbound") + "/Messages/NEW.MAI"; }

  const TimeZone zone_{"XYZ-9:30"};
  ConnectorMessage newMessage_;
};

constexpr const char* kReceived =
    "Received: with Corvane Postoffice Connector; Wed, 15 Nov 2023 07:43:20 +0930\r\n";

TEST_F(CopyWithReceivedLineTest, PutsTheLineFirstAndKeepsTheText) {
  using std::string_literals::operator""s;
  const std::string longLine(9000, 'x');
  const struct {
    std::string name, source, copy;
  } cases[] = {
      {"Usual", "A: 1\r\n\r\nbody\r\n", "A: 1\r\n\r\nbody\r\n"},
      {"LfBecomesCrLf", "A: 1\n\nbody\n", "A: 1\r\n\r\nbody\r\n"},
      {"LastLineWithoutEnd", "A: 1\r\n\r\nbody", "A: 1\r\n\r\nbody"},
      {"CrAloneStays", "a\rb\r\r\nc\r", "a\rb\r\r\nc\r"},
      {"NulAndEndOfText", "a\0b\x1A\r\nc\r\n"s, "a\0b\x1A\r\nc\r\n"s},
      {"LongLineStaysOne", longLine + "\r\nb\r\n", longLine + "\r\nb\r\n"},
      {"LineEndAtThePieceEdge", std::string(4095, 'x') + "\r\nb", std::string(4095, 'x') + "\r\nb"},
      {"Empty", "", ""},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    WriteBytes(MessageFile(), row.source);
    EXPECT_EQ(CopyWithReceivedLine(message_, newMessage_), 1);
    EXPECT_EQ(ReadBytes(Target()), kReceived + row.copy);
    EXPECT_EQ(ReadBytes(MessageFile()), row.source);
  }
}

TEST_F(CopyWithReceivedLineTest, LeavesNothingWhereAFileWontOpen) {
  EXPECT_EQ(CopyWithReceivedLine(message_, newMessage_), 0);
  EXPECT_FALSE(fs::exists(Target()));
  WriteBytes(MessageFile(), "A: 1\r\n");
  fs::remove_all(Queue("Inbound"));
  EXPECT_EQ(CopyWithReceivedLine(message_, newMessage_), 0);
  EXPECT_EQ(ReadBytes(MessageFile()), "A: 1\r\n");
}

TEST_F(CopyWithReceivedLineTest, AppearsWholeOrNotAtAll) {
  const std::string body(40'000, 'b');
  WriteBytes(MessageFile(), body);
  std::int32_t result = 0;
  WalkFaults(
      [&] {
        result = 0;
        fs::remove(Target());
      },
      [&] { result = CopyWithReceivedLine(message_, newMessage_); },
      [&](std::uint64_t call) {
        SCOPED_TRACE("call " + std::to_string(call));
        if (fs::exists(Target())) {
          EXPECT_EQ(ReadBytes(Target()), kReceived + body);
        } else {
          EXPECT_EQ(result, 0);
        }
      });
}

}  // namespace
}  // namespace corvane::test
