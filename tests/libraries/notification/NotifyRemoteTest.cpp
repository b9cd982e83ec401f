// The shipped notification library against a real socket of a service.
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "SERVICES/Library/LIBRPCNotify/RemoteNotification.h"
#include "platform/Machine.h"
#include "tests/support/BackgroundProgram.h"
#include "tests/support/BuildPlaces.h"
#include "tests/support/DatagramSocket.h"
#include "tests/support/RunProgram.h"
#include "tests/support/StoredSettings.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane {
namespace {

using Service = test::DatagramSocket;  // listens under its protocol word

// One store for the whole program: the library keeps the one that it has found.
class NotifyRemoteTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    static const test::TemporaryDirectory directory;
    setenv("CORVANE_SETTINGS", (directory / "settings.db").c_str(), 1);
    platform::SettingsStore::UsePath(directory / "settings.db");
    test::StoreSetting("Application Directory", test::ShippedLibraries());
    ASSERT_EQ(BindRemoteNotification(), 1);
  }
  NotifyRemoteTest() { test::StoreSetting("Run Directory", run_.Path(), "Providers"); }

  static test::ProgramResult Cvctl(std::vector<std::string> words) {
    words.insert(words.begin(), test::ProgramFile("cvctl"));
    return test::RunProgram(words);
  }
  // cvctl watch acme/`mailbox`, whose lines go to the file "output".
  [[nodiscard]] test::BackgroundProgram Watch(const std::string& mailbox) const {
    return {{test::ProgramFile("cvctl"), "watch", "acme/" + mailbox}, {}, run_ / "output"};
  }
  // Sends a signal as soon as somebody takes it.
  static std::int32_t SendPatiently(const char* text) {
    std::int32_t answer = 2;
    for (int i = 0; i < 500 && answer != 0; ++i) {
      answer = NotifyRemote("", "MTA", text);
      if (answer != 0) usleep(10'000);
    }
    return answer;
  }

  test::TemporaryDirectory run_;
};

TEST_F(NotifyRemoteTest, ASignalReachesTheServiceOfItsProtocolWord) {
  Service mta(run_ / "MTA.sock");
  Service imap(run_ / "IMAP.sock");
  EXPECT_EQ(NotifyRemote("", "MTA", "[CV_ACTION]\tTRAIN-HAM\t/mail/a.MAI"), 0);
  EXPECT_EQ(NotifyRemote(platform::ComputerName().c_str(), "IMAP", "hello\r\n\r\n"), 0);
  EXPECT_EQ(mta.Next(), "[CV_ACTION]\tTRAIN-HAM\t/mail/a.MAI");
  EXPECT_EQ(mta.Next(), "nothing");
  EXPECT_EQ(imap.Next(), "hello\r\n\r\n");
  EXPECT_EQ(NotifyRemote("", "mta", "any case"), 0);
  EXPECT_EQ(mta.Next(), "any case");
}

TEST_F(NotifyRemoteTest, WhatNobodyTakesFails) {
  Service mta(run_ / "MTA.sock");
  { Service gone(run_ / "GONE.sock"); }
  // A case, the server, the protocol word, and the answer.
  const std::tuple<const char*, const char*, const char*, std::int32_t> cases[] = {
      {"NoServiceOfThatName", "", "POP3", 2},
      {"ASocketThatNobodyHoldsAnyMore", "", "GONE", 2},
      {"AnotherMachine", "SOME-OTHER-MACHINE", "MTA", 64},
      {"NoWord", "", "", 123},
      {"AWordThatLeavesTheDirectory", "", "../MTA", 123},
  };
  for (const auto& [name, server, protocol, answer] : cases) {
    EXPECT_EQ(NotifyRemote(server, protocol, "text"), answer) << name;
  }
  EXPECT_EQ(mta.Next(), "nothing");
}

TEST_F(NotifyRemoteTest, AFullQueueFailsAtOnce) {
  Service mta(run_ / "MTA.sock");
  std::int32_t answer = 0;
  int sent = 0;
  for (; answer == 0 && sent < 1'000'000; ++sent) answer = NotifyRemote("", "MTA", "text");
  EXPECT_EQ(answer, 32);
  EXPECT_GT(sent, 1);
  EXPECT_EQ(mta.Next(), "text");
  EXPECT_EQ(NotifyRemote("", "MTA", "text"), 0) << "room again";
}

// cvctl watch takes a service's place: what is about the mailbox comes out, a line each.
TEST_F(NotifyRemoteTest, WatchShowsWhatIsAboutItsMailbox) {
  const std::string output = run_ / "output";
  test::StoreSetting("Run Directory", run_ / "not/made", "Providers");
  const std::string socket = run_ / "not/made/MTA.sock";
  test::StoreSetting("Configuration Database", run_ / "configuration.db", "Providers");
  test::StoreSetting("Allow Custom Postoffice Paths", 1);
  EXPECT_EQ(Cvctl({"postoffice", "add", "acme"}).exitCode, 0);
  EXPECT_EQ(Cvctl({"option", "set", "acme", "PostofficeRoot", "/moved"}).exitCode, 0);
  const auto early = Cvctl({"watch", "acme/Anna"});
  EXPECT_EQ(early.exitCode, 1);
  EXPECT_NE(early.errors.find("there is no mailbox acme/Anna"), std::string::npos);
  EXPECT_EQ(Cvctl({"mailbox", "add", "acme/anna"}).exitCode, 0);
  {
    test::BackgroundProgram watch = Watch("Anna");
    EXPECT_EQ(SendPatiently("hello\tall"), 0);
    for (const char* signal :
         {"[CV_ACTION]\tTRAIN-HAM\t/m/acme/MAILROOT/anna/Inbox/1.MAI",
          "[CV_ACTION]\tTRAIN-HAM\t/m/acme/MAILROOT/bob/Inbox/2.MAI",
          "[CV_ACTION]\tTRAIN-HAM\t/moved/mailroot/Anna/4.MAI",
          "[CV_NOTIFY]\t1\ttoken\tNEW\tMSG\tacme\tbob\tInbox\t\t5.MAI\r\n\r\n",
          "[CV_NOTIFY]\t1\ttoken\tNEW\tMSG\tACME\tanna\tInbox\t\t6.MAI\r\n\r\n",
          "[CV_NOTIFY]\t1\ttoken\tCOMMIT\r\n\r\n",
          "[CV_ACTION]\tTRAIN-SPAM\tC:\\ACME\\mailroot\\anna\\3.MAI"}) {
      EXPECT_EQ(NotifyRemote("", "MTA", signal), 0) << signal;
    }
    const auto second = Cvctl({"watch", "acme/anna"});
    EXPECT_EQ(second.exitCode, 3);
    EXPECT_NE(second.errors.find("another service listens there"), std::string::npos);
    for (int i = 0; i < 500 && test::ReadBytes(output).find("3.MAI") == std::string::npos; ++i) {
      usleep(10'000);
    }
    EXPECT_EQ(watch.Signal(SIGTERM), 0);
  }
  EXPECT_NE(access(socket.c_str(), F_OK), 0) << "its socket is gone with it";
  const std::string text = test::ReadBytes(output);
  for (const char* shown :
       {"               hello?all\n", "  TRAIN-HAM    /m/acme/MAILROOT/anna/Inbox/1.MAI\n",
        "/moved/mailroot/Anna/4.MAI\n", "6.MAI", "COMMIT",
        "  TRAIN-SPAM   C:\\ACME\\mailroot\\anna\\3.MAI\n"}) {
    EXPECT_NE(text.find(shown), std::string::npos) << shown << text;
  }
  EXPECT_EQ(text.find("2.MAI"), std::string::npos) << text;
  EXPECT_EQ(text.find("5.MAI"), std::string::npos) << text;
}

TEST_F(NotifyRemoteTest, WatchReplacesTheSocketOfADeadProgram) {
  { Service dead(run_ / "MTA.sock"); }
  test::BackgroundProgram watch = Watch("anna");
  EXPECT_EQ(SendPatiently("hello"), 0);
  EXPECT_EQ(watch.Signal(SIGTERM), 0);
}

TEST_F(NotifyRemoteTest, WatchTouchesNothingThatIsNoSocketAndNoSocketOfAnother) {
  test::WriteBytes(run_ / "MTA.sock", "kept");
  const auto refused = Cvctl({"watch", "acme/anna"});
  EXPECT_EQ(refused.exitCode, 3);
  EXPECT_NE(refused.errors.find("is no socket"), std::string::npos) << refused.errors;
  EXPECT_EQ(test::ReadBytes(run_ / "MTA.sock"), "kept");
  unlink((run_ / "MTA.sock").c_str());
  test::BackgroundProgram watch = Watch("anna");
  EXPECT_EQ(SendPatiently("hello"), 0);
  unlink((run_ / "MTA.sock").c_str());
  const Service other(run_ / "MTA.sock");
  EXPECT_EQ(watch.Signal(SIGTERM), 0);
  EXPECT_EQ(NotifyRemote("", "MTA", "hello"), 0);
}

TEST_F(NotifyRemoteTest, ATextThatIsNoDatagramFails) {
  Service mta(run_ / "MTA.sock");
  const std::string large(200'000, 'x');
  EXPECT_EQ(NotifyRemote("", "MTA", large.c_str()), 0);
  EXPECT_EQ(mta.Next(), large);
  EXPECT_NE(NotifyRemote("", "MTA", std::string(10'000'000, 'x').c_str()), 0);
}

}  // namespace
}  // namespace corvane
