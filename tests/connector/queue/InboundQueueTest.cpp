// The inbound queue: what delivery sends, read back, and its reset; and headers read from a file.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "connector/queue/InboundCommandFile.h"
#include "connector/queue/ReadHeaderValue.h"
#include "platform/File.h"
#include "tests/support/FaultWalk.h"
#include "tests/support/QueueFixture.h"

namespace corvane::test {
namespace {

// A program looks once whether the debugger channel is wanted, at its first line.
[[maybe_unused]] const int kChannelWanted = setenv("CORVANE_DEBUG_CHANNEL", "1", 1);

class InboundQueueTest : public QueueFixture {
 protected:
  InboundQueueTest() {
    message_.Recipients = "[SMTP:b@b.example];[SMTP:c@c.example]";
    SetText(message_.Sender, "[SMTP:a@b.example]");
    SetText(message_.ClientIP, "192.0.2.1");
    SetText(message_.User, "anna");
    SetText(message_.DSNFlags, "SUCCESS");
    SetText(message_.Campaign, "spring");
    SetText(message_.Priority, "Normal");
    SetText(message_.Account, "acme");
    SetText(message_.Status, "Undelivered");
    SetText(message_.CommandType, "NORMAL");
    SetText(message_.Subject, "one\r\nStatus=two");
    message_.TimeAcquired = 17;
  }
  [[nodiscard]] std::string Root() const { return Directory() / "SF"; }
  [[nodiscard]] std::string Path(const std::string& name = kName) const {
    return Queue("Inbound") + "/" + name;
  }
  [[nodiscard]] std::string Written() const {
    EXPECT_EQ(WriteInboundCommandFile(Root(), message_), 1);
    return ReadBytes(Path());
  }
  [[nodiscard]] std::int32_t Reset(std::int32_t flag = 1) const {
    InboundQueue queue;
    SetText(queue.DisplayName, "SF");
    queue.Reset = flag;
    queue.ConnectorDirectory = Root();
    return ResetInboundQueue(queue);
  }
};

TEST_F(InboundQueueTest, SwitchesDecideWhichLinesAreWritten) {
  const std::string head =
      "Recipients=[SMTP:b@b.example];[SMTP:c@c.example]\r\nServer=\r\n"
      "Sender=[SMTP:a@b.example]\r\nTimeAcquired=17\r\nClientIP=192.0.2.1\r\n"
      "AuthenticationStatus=";
  const std::string tail =
      "Account=acme\r\nStatus=Undelivered\r\nCommandType=NORMAL\r\nSubject=one  Status=two\r\n";
  EXPECT_EQ(Written(), head + "0\r\n" + tail) << "a line end in a value makes no line";
  Set("DSN Status", 1, "CONNECTORS\\SMTP");
  Set("Campaign Status", 1, "CONNECTORS\\SMTP");
  Set("Queue Prioritization", 1);
  message_.AuthenticationStatus = 1;
  EXPECT_EQ(Written(), head + "1\r\nUser=anna\r\nDSNFlags=SUCCESS\r\nPriority=Normal\r\n" +
                           "Campaign=spring\r\n" + tail);
}

TEST_F(InboundQueueTest, ReadingEmptiesFillsAndCuts) {
  const std::string x(2000, 'x');
  std::string text = "AuthenticationStatus=2\r\nDSNFlags=" + x + "\r\n";
  for (const char* key : {"Sender=", "Server=", "ClientIP=", "User=", "Account=", "Status=",
                          "CommandType=", "Subject=", "Priority="}) {
    text += key + x + "\r\n";
  }
  WriteBytes(Path(), text + "Recipients=" + std::string(9000, 'r'));
  ASSERT_EQ(ReadInboundCommandFile(Root(), message_), 1);
  const std::pair<std::string, std::size_t> kept[] = {
      {message_.Sender, 511},     {message_.Server, 255},   {message_.ClientIP, 65},
      {message_.User, 127},       {message_.Account, 127},  {message_.Status, 15},
      {message_.CommandType, 31}, {message_.Subject, 1023}, {message_.Priority, 31}};
  for (const auto& [value, length] : kept) EXPECT_EQ(value, x.substr(0, length));
  EXPECT_EQ(message_.AuthenticationStatus, 2);
  EXPECT_EQ(message_.Recipients, std::string(9000, 'r'));
  EXPECT_STREQ(message_.DSNFlags, "") << "only with DSN Status 1";
  EXPECT_EQ(message_.TimeAcquired, 0) << "emptied";
  SetText(message_.MessageID, "none.MAI");
  EXPECT_EQ(ReadInboundCommandFile(Root(), message_), 0);
}

TEST_F(InboundQueueTest, ACommandAppearsWholeOrNotAtAll) {
  WalkFaults([&] { fs::remove(Path()); },
             [&] { EXPECT_EQ(WriteInboundNDRCommand(message_), 1) << "a failure is tried again"; },
             [&](std::uint64_t) {
               const std::string text = ReadBytes(Path());
               EXPECT_TRUE(!fs::exists(Path()) || text.ends_with("Status=Undelivered\r\n")) << text;
             });
  EXPECT_EQ(ReadBytes(Path()),
            "CommandType=NORMAL\r\nRecipients=[SMTP:b@b.example];[SMTP:c@c.example]\r\nServer=\r\n"
            "Sender=[SMTP:a@b.example]\r\nTimeAcquired=17\r\nNextSendTime=17\r\nMessageID=" +
                std::string(kName) + "\r\nStatus=Undelivered\r\n");
}

TEST_F(InboundQueueTest, ResetPutsBackWhatIsNotUndelivered) {
  const std::string other = "FFFF.MAI";
  SetText(message_.Status, "Delivering");
  SetText(message_.Server, "NODE1");
  static_cast<void>(Written());
  WriteBytes(Path(other), "Recipients=x\r\nServer=KEPT\r\nStatus=undelivered\r\n");
  WriteBytes(Path("note.txt"), "Status=Delivering\r\n");
  WriteBytes(Path("draft.MAI"), "no command file\r\n");
  EXPECT_EQ(Reset(0), 0) << "not asked to";
  EXPECT_EQ(Reset(), 1);
  EXPECT_EQ(ReadBytes(Path("draft.MAI")), "no command file\r\n");
  ASSERT_EQ(ReadInboundCommandFile(Root(), message_), 1);
  EXPECT_STREQ(message_.Status, "Undelivered");
  EXPECT_STREQ(message_.Server, "");
  EXPECT_EQ(message_.TimeAcquired, 1'700'000'000);
  EXPECT_EQ(message_.Recipients, "[SMTP:b@b.example];[SMTP:c@c.example]");
  EXPECT_EQ(ReadBytes(Path(other)), "Recipients=x\r\nServer=KEPT\r\nStatus=undelivered\r\n");
  EXPECT_EQ(Reset(), 0);
}

// And no file where none was.
TEST_F(InboundQueueTest, ACutResetLeavesTheOldTextOrTheNew) {
  const auto reset = [&] { return ResetInboundCommandFile(Root(), kName); };
  const std::string before = "Recipients=x\r\nStatus=Delivering\r\n";
  WriteBytes(Path(), before);
  EXPECT_NE(reset(), InboundReset::kFailed);
  const std::string after = ReadBytes(Path());
  EXPECT_NE(after.find("Status=Undelivered"), std::string::npos);
  WalkRewrite(Path(), before, after, [&] { return reset() != InboundReset::kFailed; });
  fs::remove(Path());
  EXPECT_EQ(reset(), InboundReset::kFailed);
  EXPECT_FALSE(fs::exists(Path()));
}

TEST_F(InboundQueueTest, TheLogTellsWhatWasReset) {
  Set("Debug Enabled", 3, "CONNECTORS\\SF");
  const auto told = [&](std::int32_t flag) {
    testing::internal::CaptureStderr();
    static_cast<void>(Reset(flag));
    return testing::internal::GetCapturedStderr();
  };
  EXPECT_EQ(told(0), "Bypassing Resetting Inbound Messages for SF\n");
  EXPECT_EQ(told(1),
            "Resetting messages in inbound queue for SF\n"
            "No outgoing message files in inbound queue for SF\n"
            "Reset 0 messages out of 0 in inbound queue for SF\n");
  WriteBytes(Path(), "Status=Delivering\r\n");
  WriteBytes(Path("2.MAI"), "Status=Undelivered\r\n");
  EXPECT_EQ(told(1),
            "Resetting messages in inbound queue for SF\n"
            "Reset 1 messages out of 2 in inbound queue for SF\n");
}

TEST_F(InboundQueueTest, ReadsOneHeaderOfAFile) {
  std::string elevenLines;
  for (int i = 0; i < 11; ++i) elevenLines += "A: 1\n";
  const struct {
    std::string name, text;
    bool found;
    std::string value;
  } cases[] = {
      {"any case, blanks dropped", "A: 1\r\nsubject:   two  \r\n\r\n", true, "two  "},
      {"folds as they stand", "Subject: one\r\n two\r\n\tthree\r\nB: x\r\n\r\n", true,
       "one two\tthree"},
      {"LF alone", "Subject: one\n two\n\n", true, "one two"},
      {"first match", "Subject: one\r\nSubject: two\r\n\r\n", true, "one"},
      {"not in the body", "A: 1\r\n\r\nSubject: one\r\n", false, ""},
      {"not a longer name", "Subjects: one\r\n\r\n", false, ""},
      {"at the end of the file", "Subject: one", true, "one"},
      {"on a line of its own", "Subject:\r\n one\r\n\r\n", true, " one"},
      {"too far down", elevenLines + "Subject: one\r\n", false, ""},
      {"behind a long line", "A: " + std::string(5000, 'a') + "\r\nSubject: one\r\n", true, "one"},
      {"cut", "Subject: " + std::string(100, 's') + "\r\n\r\n", true, std::string(63, 's')},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    WriteBytes(Path(), row.text);
    std::string value = "old";
    EXPECT_EQ(ReadHeaderValue(Path(), "Subject", value, 64, 10), row.found);
    EXPECT_EQ(value, row.value);
  }
  std::string value;
  EXPECT_FALSE(ReadHeaderValue(Path("none"), "Subject:", value, 64, 10));
}

}  // namespace
}  // namespace corvane::test
