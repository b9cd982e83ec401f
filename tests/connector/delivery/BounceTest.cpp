// Bounces and notices: who gets one, in whose name, when there is none, and what the files say.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "connector/delivery/GenerateDSN.h"
#include "connector/delivery/GenerateNDR.h"
#include "connector/delivery/SmtpRoute.h"
#include "connector/settings/ProcessState.h"
#include "connector/settings/Settings.h"
#include "tests/support/BuildPlaces.h"
#include "tests/support/FaultWalk.h"
#include "tests/support/QueueFixture.h"
#include "tests/support/TimeZone.h"

namespace corvane::test {
namespace {

// A program looks once whether the debugger channel is wanted, at its first line.
[[maybe_unused]] const int kChannelWanted = setenv("CORVANE_DEBUG_CHANNEL", "1", 1);

constexpr const char* kMessage = "From: x\r\nSubject: one\r\n two\r\n\r\nbody\r\n";

TEST(SmtpRouteTest, AddressesAndSourceRoutes) {
  const struct {
    const char *address, *domain, *out;
  } rows[] = {
      {"a@b.example", "b.example", "a@b.example"},
      {"a@b@c.example", "b@c.example", "a@b@c.example"},
      {"@one,@two:a@b.example", "@one", "@two:a@b.example"},
      {"@one,@two,@three:a@b.example", "@one", "@two,@three:a@b.example"},
      {"@one:a@b.example", "@one", "a@b.example"},
      {"nobody", "house.example", "POSTMASTER@house.example"},
      {"", "house.example", "POSTMASTER@house.example"},
  };
  settings::Hold(settings::kLocalDomainName, "house.example");
  for (const auto& row : rows) {
    std::string domain, out;
    ResolveSmtpRoute(row.address, domain, out);
    EXPECT_EQ(domain, row.domain) << row.address;
    EXPECT_EQ(out, row.out) << row.address;
  }
  EXPECT_EQ(BounceAddress("[SMTP:a@b]"), "a@b");
  EXPECT_EQ(BounceAddress("SMTP:a@b"), "");
  EXPECT_EQ(BounceAddress("]a:b"), "");
  settings::ForgetSettings();
}

class BounceTest : public QueueFixture {
 protected:
  BounceTest() {
    Prepare();
    setenv("CORVANE_STUB_ANSWERS", (Directory() / "answers").c_str(), 1);
    Set("Application Directory", StubLibraries("full"));
    Set("Bad Mail Directory", Directory() / "badmail");
    Set("Local Domain Name", "house.example", "CONNECTORS\\SMTP");
    Set("Bad Mail Notification Sender Address", "post@house.example", "CONNECTORS\\SMTP");
    WriteBytes(Directory() / "answers", "SMTPDomainGet served.example 1\n");
    EXPECT_TRUE(LoadConfigurationProvider(kSmtpProvider));
  }
  ~BounceTest() override { UnloadConfigurationProvider(kSmtpProvider); }

  void Prepare() {
    for (const char* queue : {"SF/Inbound", "SF/Outgoing", "badmail"}) {
      fs::remove_all(Directory() / queue);
      fs::create_directories(Directory() / (std::string(queue) + "/Messages"));
    }
    WriteBytes(CommandFile(), "Recipients=x\r\n");
    WriteBytes(MessageFile(), kMessage);
    message_ = ConnectorMessage{};
    SetText(message_.Connector, "SF");
    SetText(message_.MessageID, kName);
    SetText(message_.Sender, "[SMTP:a@b.example]");
    message_.TimeAcquired = 17;
  }
  std::int32_t Bounce() { return GenerateNDR(message_, "[SF:acme/nobody]", "It is so."); }
  std::int32_t Notice() {
    MailboxRecord mailbox{};
    SetText(mailbox.Postoffice, "acme");
    SetText(mailbox.Mailbox, "anna");
    return GenerateDSN(message_, mailbox, DsnKind::kSuccess);
  }
  // The one command file in the inbound queue, or empty.
  [[nodiscard]] std::string Command() const { return ReadBytes(Only(Queue("Inbound"))); }
  [[nodiscard]] std::string Text() const { return ReadBytes(Only(Queue("Inbound") + "/Messages")); }
  [[nodiscard]] bool InBadMail() const {
    return fs::exists(Directory() / (std::string("badmail/Messages/") + kName));
  }
  [[nodiscard]] static std::string Only(const std::string& directory) {
    std::string path;
    for (const auto& entry : fs::directory_iterator(directory)) {
      if (!entry.is_regular_file()) continue;
      EXPECT_EQ(path, "") << "more than one";
      path = entry.path();
    }
    return path;
  }
};

TEST_F(BounceTest, TheFromAddressFollowsTheSender) {
  const struct {
    const char *sender, *to, *from;
  } rows[] = {
      {"[SMTP:a@b.example]", "a@b.example", "post@house.example"},
      {"[SMTP:a@served.example]", "a@served.example", "POSTMASTER@served.example"},
      {"[SMTP:nobody]", "POSTMASTER@house.example", "POSTMASTER@house.example"},
      {"no item", "POSTMASTER@house.example", "POSTMASTER@house.example"},
      {"[SMTP:@one,@two:a@b.example]", "@two:a@b.example", "post@house.example"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sender);
    Prepare();
    SetText(message_.Sender, row.sender);
    EXPECT_EQ(Bounce(), 1);
    EXPECT_NE(Command().find(std::string("Recipients=[SMTP:") + row.to + "]\r\n"),
              std::string::npos);
    EXPECT_NE(Command().find(std::string("Sender=[SMTP:") + row.from + "]\r\n"), std::string::npos);
    EXPECT_TRUE(Text().starts_with(std::string("From: ") + row.from + "\r\n"));
  }
}

TEST_F(BounceTest, ThePlainFormIsOneTextWithTheOriginal) {
  WriteBytes(MessageFile(), "Subject: one\n\n" + std::string(5000, 'x') + "\n\r\nlast");
  const TimeZone zone("XYZ-2");
  EXPECT_EQ(GenerateNDR(message_, "[SMTP:who@b.example]", "It is so."), 1);
  const std::string id = fs::path(Only(Queue("Inbound"))).filename();
  EXPECT_TRUE(std::regex_match(id, std::regex("[0-9A-F]{32}\\.MAI"))) << id;
  const std::string date = "Wed, 15 Nov 2023 00:13:20 +0200";
  EXPECT_EQ(Text(),
            "From: post@house.example\r\nTo: <a@b.example>\r\n"
            "Subject: Message Delivery Failure\r\nDate: " +
                date + "\r\nMessage-ID: <" + id +
                "@house.example>\r\nPrecedence: bulk\r\nAuto-Submitted: auto-replied\r\n\r\n\r\n"
                "Message could not be delivered. Error was: It is so.\r\n\r\n"
                "The following recipient(s) could not be reached:\r\n\r\n\twho@b.example\r\n"
                "\r\nMessage contents follow:\r\n\r\nSubject: one\r\n\r\n" +
                std::string(5000, 'x') + "\r\n\r\nlast");
  EXPECT_EQ(Command(),
            "CommandType=NDR\r\nRecipients=[SMTP:a@b.example]\r\nServer=\r\n"
            "Sender=[SMTP:post@house.example]\r\nTimeAcquired=17\r\nNextSendTime=17\r\n"
            "MessageID=" +
                id + "\r\nStatus=Undelivered\r\n");
  EXPECT_STREQ(message_.MessageID, kName) << "the original goes on to the other recipients";
  EXPECT_STREQ(message_.Sender, "[SMTP:a@b.example]");
}

TEST_F(BounceTest, TheLogTellsItsStepsInTheirOrder) {
  Set("Debug Enabled", 3, "CONNECTORS\\SF");
  SetText(message_.Sender, "[SMTP:nobody]");
  testing::internal::CaptureStderr();
  EXPECT_EQ(Bounce(), 1);
  const std::string told = testing::internal::GetCapturedStderr();
  const std::string id = fs::path(Only(Queue("Inbound"))).filename();
  std::size_t at = 0;
  for (const std::string& line :
       {std::string("[") + kName +
            "] caused a Bounce Message to be generated with a Message ID of [" + id +
            "] when sending to: [SF:acme/nobody]\n",
        std::string("CV-E0117: ERR:Error resolving SMTP Address for nobody. Message directed to "
                    "Postmaster@house.example.\n"),
        std::string("CV-E0003: [") + kName +
            "] Could not resolve return path address for nobody.\n"}) {
    at = told.find(line, at);
    EXPECT_NE(at, std::string::npos) << line << told;
    if (at == std::string::npos) break;
  }
}

TEST_F(BounceTest, SettingsSuppressIt) {
  Set("No NDR Generation", 2, "CONNECTORS\\SF");
  Set("No NDR Generation", 1, "CONNECTORS\\SMTP");
  EXPECT_EQ(Bounce(), 1);
  EXPECT_EQ(Command(), "") << "2 asks the SMTP connector";
  Set("No NDR Generation", 3, "CONNECTORS\\SF");
  EXPECT_EQ(Bounce(), 1);
  EXPECT_EQ(Command(), "");
  message_.AuthenticationStatus = 1;
  EXPECT_EQ(Bounce(), 1);
  EXPECT_NE(Command(), "");
}

TEST_F(BounceTest, LoopsEndInBadMail) {
  for (const char* sender : {"[smtp:POST@house.EXAMPLE]", "[SMTP:PostMaster@served.example]"}) {
    Prepare();
    SetText(message_.Sender, sender);
    EXPECT_EQ(Bounce(), 1);
    EXPECT_TRUE(InBadMail()) << sender;
    EXPECT_EQ(Command(), "") << sender;
  }
  const std::pair<std::string, bool> rows[] = {
      {"AUTO-SUBMITTED:   auto-Replied\r\n", true},
      {"Auto-Submitted: auto-generated\r\n", false},
      {"Auto-Submitted: auto-replied (away)\r\n", false},
      {"\r\nAuto-Submitted: auto-replied\r\n", false},
  };
  for (const auto& [head, loop] : rows) {
    SCOPED_TRACE(head);
    Prepare();
    WriteBytes(MessageFile(), "A: 1\r\n" + head + kMessage);
    EXPECT_EQ(Bounce(), 1);
    EXPECT_EQ(InBadMail(), loop);
    EXPECT_EQ(Command().empty(), loop);
  }
}

TEST_F(BounceTest, WithoutTheOriginalItSaysSo) {
  fs::remove(MessageFile());
  EXPECT_EQ(Bounce(), 1);
  EXPECT_TRUE(
      Text().ends_with("\t[SF:acme/nobody]\r\nCorvane: Message Delivery Failure.\r\n\r\n"
                       "Message file was corrupted... Please resend.\r\n\r\n"));
}

TEST_F(BounceTest, WithoutTheSmtpProviderBadMailKeepsACopy) {
  UnloadConfigurationProvider(kSmtpProvider);
  EXPECT_EQ(Bounce(), 0);
  EXPECT_EQ(Command(), "");
  EXPECT_TRUE(InBadMail());
  EXPECT_TRUE(fs::exists(MessageFile()));
  settings::StopFlag() = 1;
  EXPECT_THROW(Bounce(), ProviderUnloaded) << "the connector stops: it bounces after the restart";
  settings::StopFlag() = 0;
}

// A bounce has its message file, or there is none and the message stays in the queue.
TEST_F(BounceTest, FaultsLeaveNoHalfBounce) {
  for (const auto action : {platform::FaultAction::kFail, platform::FaultAction::kThrow}) {
    WalkFaults(
        action, [&] { Prepare(); }, [&] { Bounce(); },
        [&](std::uint64_t call) {
          SCOPED_TRACE(call);
          if (!Command().empty()) {
            EXPECT_TRUE(Text().ends_with(kMessage));
          } else if (action == platform::FaultAction::kFail) {
            EXPECT_TRUE(message_.KeepInQueue);
            EXPECT_EQ(Text(), "");
          }
        });
  }
}

// One failure is tried again; here the message file gets its name and the command file never does.
TEST_F(BounceTest, ACommandThatCannotBeWrittenTakesItsMessageFileAlong) {
  platform::ArmFault({.number = 2,
                      .error = platform::kErrorDiskFull,
                      .calls = platform::FileCallBit(platform::FileCall::kLink) |
                               platform::FileCallBit(platform::FileCall::kRename),
                      .lasting = true});
  Bounce();
  EXPECT_GE(platform::CountedFileCalls(), 2U);
  platform::DisarmFault();
  EXPECT_TRUE(message_.KeepInQueue);
  EXPECT_EQ(Command(), "");
  EXPECT_EQ(Text(), "");
}

// A notice that can't be queued leaves nothing, and the message takes its way all the same.
TEST_F(BounceTest, FaultsLeaveNoHalfNotice) {
  Set("DSN Status", 1, "CONNECTORS\\SMTP");
  std::int32_t result = -1;
  WalkFaults(
      platform::FaultAction::kFail,
      [&] {
        Prepare();
        SetText(message_.DSNFlags, "SUCCESS");
        result = -1;
      },
      [&] { result = Notice(); },
      [&](std::uint64_t call) {
        SCOPED_TRACE(call);
        EXPECT_EQ(Command().empty(), result == 0);
        EXPECT_EQ(Text().empty(), result == 0);
        EXPECT_FALSE(message_.KeepInQueue);
      });
  EXPECT_EQ(result, 1);
}

TEST_F(BounceTest, ANoticeIsMadeForThoseWhoAskedForIt) {
  SetText(message_.DSNFlags, "SUCCESS");
  EXPECT_EQ(Notice(), 0) << "DSN Status is 0";
  Set("DSN Status", 1, "CONNECTORS\\SMTP");
  for (const char* flags : {"", "NEVER", "FAILURE,DELAY"}) {
    SetText(message_.DSNFlags, flags);
    EXPECT_EQ(Notice(), 0) << flags;
  }
  EXPECT_EQ(Text(), "");
  SetText(message_.DSNFlags, "failure,success");
  EXPECT_EQ(Notice(), 1);
  const std::string id = fs::path(Only(Queue("Inbound"))).filename();
  EXPECT_EQ(Command(),
            "Recipients=[SMTP:a@b.example]\r\nServer=\r\nSender=[SMTP:post@house.example]\r\n"
            "TimeAcquired=17\r\nClientIP=\r\nAuthenticationStatus=0\r\nDSNFlags=\r\n"
            "Account=\r\nStatus=Undelivered\r\nCommandType=\r\nSubject=\r\n");
  std::string text = Text();
  const std::size_t date = text.find("Date: ");
  text.erase(date, text.find("\r\n", date) + 2 - date);
  const std::string rule(81, '-');
  EXPECT_EQ(
      text,
      "From: post@house.example\r\nTo: <a@b.example>\r\nSubject: Delivery Success: one two\r\n"
      "Message-ID: <" +
          id +
          "@house.example>\r\nPrecedence: bulk\r\n"
          "Content-Type: multipart/report;\r\n\treport-type=delivery-status;\r\n"
          "\tboundary=\"----=_NextPart_000_0016_01CA741D.3C2790E0\"\r\n\r\n"
          "------=_NextPart_000_0016_01CA741D.3C2790E0\r\nContent-Type: text/plain;\r\n"
          "\tcharset=\"us-ascii\"\r\nContent-Transfer-Encoding: 7bit\r\n\r\n" +
          rule +
          "\r\nThe message you sent to acme/anna was successfully delivered.\r\n\r\n"
          "The subject of the message follows: \r\n\r\none two\r\n\r\n" +
          rule + "\r\n------=_NextPart_000_0016_01CA741D.3C2790E0--\r\n");
}

}  // namespace
}  // namespace corvane::test
