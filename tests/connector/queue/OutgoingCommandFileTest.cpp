// Reading and writing command files.
#include <gtest/gtest.h>

#include <string>

#include "connector/queue/OutgoingCommandFile.h"
#include "platform/File.h"
#include "tests/support/QueueFixture.h"

namespace corvane::test {
namespace {

class OutgoingCommandFileTest : public QueueFixture {};

TEST_F(OutgoingCommandFileTest, ReadsEveryKeyAndCutsAtItsLimit) {
  const std::string x(3000, 'x');
  std::string text;
  for (const char* key : {"Status=", "DomainName=", "Sender=", "ClientIP=", "Subject=", "Priority=",
                          "Account=", "CommandType="}) {
    text += key + x + "\r\n";
  }
  WriteBytes(CommandFile(), text +
                                "\r\nRecipients=first\r\nRetries=-2\r\nNextSendTime=99999999999\r\n"
                                "TimeAcquired= 17x\r\nAuthenticationStatus=yes\r\nUnknown=1\r\n"
                                "retries=9\r\nDSNFlags=a\r\nMessageID=..\\..\\x\r\nRecipients=" +
                                std::string(30'000, 'r'));
  ASSERT_EQ(ReadOutgoingCommandFile(message_), 1);
  const std::pair<std::string, std::size_t> kept[] = {
      {message_.Status, 15},   {message_.DomainName, 255}, {message_.Sender, 511},
      {message_.ClientIP, 63}, {message_.Subject, 1023},   {message_.Priority, 31},
      {message_.Account, 127}, {message_.CommandType, 31}};
  for (const auto& [value, length] : kept) EXPECT_EQ(value, x.substr(0, length));
  EXPECT_EQ(message_.Recipients, std::string(30'000, 'r')) << "the last of two equal keys, whole";
  EXPECT_EQ(message_.Retries, -2);
  EXPECT_EQ(message_.NextSendTime, 2147483647);
  EXPECT_EQ(message_.TimeAcquired, 17);
  EXPECT_EQ(message_.AuthenticationStatus, 0);
  EXPECT_STREQ(message_.DSNFlags, "") << "only with DSN Status 1";
  EXPECT_STREQ(message_.MessageID, kName) << "the file's own name";
}

TEST_F(OutgoingCommandFileTest, WritesItsLinesInOrder) {
  message_.Recipients = "[SF:acme/anna];[SF:acme/sales]";
  SetText(message_.Sender, "[SMTP:a@b.example]");
  SetText(message_.Server, "NODE1");
  SetText(message_.Account, "acme");
  SetText(message_.ClientIP, "10.0.0.1");
  SetText(message_.Priority, "Normal");
  SetText(message_.Status, "Unsent");
  SetText(message_.Subject, "not written");
  message_.Retries = 1;
  message_.NextSendTime = 2;
  message_.TimeAcquired = 3;
  message_.AuthenticationStatus = 4;
  const std::string head =
      "Recipients=[SF:acme/anna];[SF:acme/sales]\r\nServer=NODE1\r\nSender=[SMTP:a@b.example]\r\n"
      "Retries=1\r\nNextSendTime=2\r\nTimeAcquired=3\r\nAuthenticationStatus=4\r\n"
      "MessageID=" +
      std::string(kName) + "\r\n";
  const std::string tail =
      "AccountName=acme\r\nClientIP=10.0.0.1\r\nPriority=Normal\r\nStatus=Unsent\r\n";
  ASSERT_EQ(WriteOutgoingCommandFile(message_), 1);
  EXPECT_EQ(ReadBytes(CommandFile()), head + tail);

  Set("DSN Status", 1, "CONNECTORS\\SMTP");
  Set("Campaign Status", 1, "CONNECTORS\\SMTP");
  SetText(message_.DSNFlags, "NOTIFY=NEVER");
  SetText(message_.Campaign, "spring\r\nStatus=Held");
  ASSERT_EQ(WriteOutgoingCommandFile(message_), 1);
  EXPECT_EQ(ReadBytes(CommandFile()),
            head + "DSNFlags=NOTIFY=NEVER\r\nCampaign=spring  Status=Held\r\n" + tail);
  ConnectorMessage again;
  SetText(again.Connector, "SF");
  SetText(again.MessageID, kName);
  ASSERT_EQ(ReadOutgoingCommandFile(again), 1);
  EXPECT_STREQ(again.DSNFlags, "NOTIFY=NEVER");
  EXPECT_STREQ(again.Account, "") << "AccountName= is not read back";
}

TEST_F(OutgoingCommandFileTest, WritingWaitsForAHolderTenTimes) {
  WriteBytes(CommandFile(), "x");
  auto holder = platform::File::Open(CommandFile(), platform::Access::kRead, platform::kShareNone,
                                     platform::Disposition::kOpenExisting);
  ASSERT_TRUE(holder);
  EXPECT_EQ(WriteOutgoingCommandFile(message_), 0);
  EXPECT_EQ(Clock().Slept(), 9 * 2000);
  holder.Close();
  EXPECT_EQ(WriteOutgoingCommandFile(message_), 1);
}

TEST_F(OutgoingCommandFileTest, TextsThatAreNoCommandFileAreRefused) {
  for (const std::string& text :
       {std::string(), std::string("Status=Unsent"), std::string(5, '\0')}) {
    WriteBytes(CommandFile(), text);
    EXPECT_EQ(ReadOutgoingCommandFile(message_), 0);
  }
  fs::remove(CommandFile());
  EXPECT_EQ(ReadOutgoingCommandFile(message_), 0);
}

TEST_F(OutgoingCommandFileTest, DeletingWhatIsGoneSucceedsAtOnce) {
  EXPECT_EQ(DeleteOutgoingMessageFile(message_), 1);
  EXPECT_EQ(DeleteOutgoingCommandFile(message_), 1);
  EXPECT_EQ(Clock().Slept(), 0);
}

}  // namespace
}  // namespace corvane::test
