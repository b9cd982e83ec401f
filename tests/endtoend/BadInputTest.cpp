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

namespace corvane::test {
namespace {

const std::string kMessage = "Subject: one\r\n\r\nbody\r\n";

enum class Outcome { kStays, kGone, kBounced };

struct BadCase {
  const char* name;
  std::string command;
  bool hasMessage;
  Outcome outcome;
  const char* logLine;  // a piece of the debug log, or null
};

std::vector<BadCase> Cases(unsigned base) {
  auto to = [&, next = 0U](const std::string& recipients) mutable {
    return CommandFor(NameOf(base + next++), recipients);
  };
  constexpr const char* kRefused = "with a name that no mailbox can have";
  return {
      {"NoRecipients", to(""), true, Outcome::kGone, nullptr},
      {"MissingMessageFile", to("[SF:acme/box0]"), false, Outcome::kGone,
       "Message does not exist after postoffice level filter for PO=acme."},
      {"ParentDirectories", to("[SF:../../x]"), true, Outcome::kBounced, kRefused},
      {"PathInAName", to("[SF:a/b/c]"), true, Outcome::kBounced, kRefused},
      {"NulInAName", to(std::string("[SF:acme/bo\0x0]", 15)), true, Outcome::kBounced, kRefused},
      {"LongMailboxName", to("[SF:acme/" + std::string(64, 'm') + "]"), true, Outcome::kBounced,
       kRefused},
      {"AMillionSeparators", to(std::string(1'000'000, ';')), true, Outcome::kGone, nullptr},
      {"Empty", "", true, Outcome::kStays, nullptr},
      {"OnlyAState", "Status=Unsent\r\n", true, Outcome::kStays,
       "has no recipients that can be read"},
      {"NulBytes", std::string(300, '\0'), true, Outcome::kStays, nullptr},
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
  installation.RunSweeps(2, [&] {
    for (unsigned i = 0; i < cases.size(); ++i) {
      const bool there = fs::exists(installation.Queue() + "/" + NameOf(100 + i));
      if (there && cases[i].outcome != Outcome::kStays) return false;
    }
    return !installation.InQueue(NameOf(1)) && !installation.InQueue(NameOf(2));
  });
  const std::string log = installation.DebugLog();
  std::ptrdiff_t bounces = 1;  // that of the good message
  for (unsigned i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(cases[i].name);
    if (cases[i].outcome == Outcome::kBounced) ++bounces;
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

TEST(BadInputTest, WithoutItsSettingsTheConnectorSaysSo) {
  const TemporaryDirectory directory;
  BackgroundProgram connector({CORVANE_BINARY_DIR "/bin/CorvanePOConnector", "-debug"},
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
}  // namespace corvane::test
