// Bad input of every kind: a clear line in the log, nothing lost, nothing outside its directory,
// and the good message beside it delivered.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "tests/endtoend/Installation.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;
using test::CommandFor;
using test::Installation;
using test::NameOf;
using test::ReadBytes;

const std::string kMessage = "Subject: one\r\n\r\nbody\r\n";

enum class Outcome { kStays, kGone, kBounced, kBadMail };

struct BadCase {
  const char* name;
  std::string command;
  bool hasMessage;
  Outcome outcome;
  const char* logLine;  // a piece of the debug log, or null
};

std::vector<BadCase> Cases(unsigned base) {
  const auto file = [&](unsigned i) { return NameOf(base + i); };
  return {
      {"Empty", "", true, Outcome::kStays, nullptr},
      {"WithoutLineEnds", "Recipients=[SF:acme/box0]Status=Unsent", true, Outcome::kStays, nullptr},
      {"OnlyAState", "Status=Unsent\r\n", true, Outcome::kStays,
       "has no recipients that can be read"},
      {"NulBytes", std::string(300, '\0'), true, Outcome::kStays, nullptr},
      {"NoRecipients", CommandFor(file(4), ""), true, Outcome::kGone, nullptr},
      {"MissingMessageFile", CommandFor(file(5), "[SF:acme/box0]"), false, Outcome::kGone,
       "Message does not exist after postoffice level filter for PO=acme."},
      {"ParentDirectories", CommandFor(file(6), "[SF:../../x]"), true, Outcome::kBounced,
       "with a name that no mailbox can have"},
      {"PathInAName", CommandFor(file(7), "[SF:a/b/c]"), true, Outcome::kBounced,
       "with a name that no mailbox can have"},
      {"BackslashInAName", CommandFor(file(8), "[SF:acme/..\\..\\x]"), true, Outcome::kBounced,
       "with a name that no mailbox can have"},
      {"NulInAName", CommandFor(file(9), std::string("[SF:acme/bo\0x0]", 15)), true,
       Outcome::kBounced, "with a name that no mailbox can have"},
      {"LongMailboxName", CommandFor(file(10), "[SF:acme/" + std::string(64, 'm') + "]"), true,
       Outcome::kBounced, "with a name that no mailbox can have"},
      {"LongPostofficeName", CommandFor(file(11), "[SF:" + std::string(128, 'p') + "/box0]"), true,
       Outcome::kBounced, "with a name that no mailbox can have"},
      {"OverlongItem", CommandFor(file(12), "[SF:acme/" + std::string(1100, 'm') + "]"), true,
       Outcome::kGone, "has a recipient of 1110 characters"},
      {"CorruptItem", CommandFor(file(13), "[SF:acme/box0"), true, Outcome::kBadMail,
       "has corrupted recipient [SF:acme/box0. Recipient ignored."},
      {"EmptyName", CommandFor(file(14), "[SF:acme/]"), true, Outcome::kBadMail,
       "has corrupted recipient"},
      {"UnknownMailbox", CommandFor(file(15), "[SF:acme/nobody]"), true, Outcome::kBounced,
       "Mailbox (nobody) could not be found on postoffice (acme)"},
      {"UnknownPostoffice", CommandFor(file(16), "[SF:nowhere/box0]"), true, Outcome::kBounced,
       "because the Postoffice (nowhere) has been disabled"},
      {"InternetItem", CommandFor(file(17), "[SMTP:a@b.example]"), true, Outcome::kGone, nullptr},
      {"AMillionSeparators", CommandFor(file(18), std::string(1'000'000, ';')), true,
       Outcome::kGone, nullptr},
      {"OtherState", "Recipients=[SF:acme/box0]\r\nServer=ELSEWHERE\r\nStatus=Held\r\n", true,
       Outcome::kStays, nullptr},
  };
}

TEST(BadInputTest, LosesNothingAndStopsNothing) {
  const Installation installation;
  installation.AddMailboxes("box", 1);
  const auto cases = Cases(100);
  for (unsigned i = 0; i < cases.size(); ++i) {
    installation.PutRaw(NameOf(100 + i), cases[i].command, kMessage);
    if (!cases[i].hasMessage) fs::remove(installation.Queue() + "/Messages/" + NameOf(100 + i));
  }
  installation.PutRaw(NameOf(1), CommandFor(NameOf(1), "[SF:acme/box0];;[SF:acme/nobody]"),
                      kMessage);
  // A file whose MessageID= names another one is read with its own name.
  installation.PutRaw(NameOf(2), CommandFor("..\\..\\" + NameOf(99), "[SF:acme/box0]"), kMessage);
  installation.RunSweeps(2);
  const std::string log = installation.DebugLog();
  std::ptrdiff_t bounces = 1;  // that of the good message
  for (unsigned i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(cases[i].name);
    if (cases[i].outcome == Outcome::kBounced) ++bounces;
    EXPECT_EQ(fs::exists(installation.Path("badmail/Messages/") + NameOf(100 + i)),
              cases[i].outcome == Outcome::kBadMail);
    EXPECT_EQ(fs::exists(installation.Queue() + "/" + NameOf(100 + i)),
              cases[i].outcome == Outcome::kStays);
    EXPECT_EQ(fs::exists(installation.Queue() + "/Messages/" + NameOf(100 + i)),
              cases[i].outcome == Outcome::kStays);
    if (cases[i].logLine != nullptr) {
      EXPECT_NE(log.find(cases[i].logLine), std::string::npos) << cases[i].logLine;
    }
  }
  EXPECT_TRUE(fs::exists(installation.MailboxFile("box0", NameOf(1))));
  EXPECT_FALSE(installation.InQueue(NameOf(1)));
  EXPECT_EQ(std::distance(
                fs::directory_iterator(installation.Path("connectors/SF/Inbound/Messages")), {}),
            bounces);
  EXPECT_TRUE(fs::exists(installation.MailboxFile("box0", NameOf(2))));
  EXPECT_FALSE(fs::exists(installation.Queue() + "/" + NameOf(2)));
  EXPECT_EQ(installation.Inbox("box0").size(), 2U);
}

TEST(BadInputTest, WithoutAConfigurationStoreMessagesStay) {
  const Installation installation;
  installation.AddMailboxes("box", 1);
  installation.PutRaw(NameOf(1), CommandFor(NameOf(1), "[SF:acme/box0]"), kMessage);
  for (const auto& entry : fs::recursive_directory_iterator(installation.Path(""))) {
    if (entry.path().filename() == "configuration.db")
      fs::rename(entry.path(), installation.Path("aside.db"));
  }
  installation.RunSweeps(1);
  EXPECT_TRUE(installation.InQueue(NameOf(1)));
  EXPECT_NE(ReadBytes(installation.Queue() + "/" + NameOf(1)).find("Status=Delivering"),
            std::string::npos);
}

TEST(BadInputTest, WithoutItsSettingsTheConnectorSaysSo) {
  const test::TemporaryDirectory directory;
  test::BackgroundProgram connector({CORVANE_BINARY_DIR "/bin/CorvanePOConnector", "-debug"},
                                    {{"CORVANE_SETTINGS", directory / "missing.db"}},
                                    directory / "output.txt");
  for (int i = 0; i < 250 && ReadBytes(directory / "output.txt").find("OutboundMessageQueue") ==
                                 std::string::npos;
       ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_EQ(connector.Signal(SIGTERM), 0);
  EXPECT_NE(ReadBytes(directory / "output.txt")
                .find("Unable to determine OutboundMessageQueue. This is a serious problem."),
            std::string::npos);
  EXPECT_FALSE(fs::exists(directory / "missing.db"));
}

}  // namespace
}  // namespace corvane
