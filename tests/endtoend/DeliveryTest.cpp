// A message from the queue into a mailbox, by the real programs.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/endtoend/Installation.h"
#include "tests/support/Corpus.h"

namespace corvane::test {
namespace {

const std::string kMessage = "From: a@b.example\r\nSubject: one\r\n\r\nbody\r\n";
const std::string kDelivered =
    "From: a@b.example\r\nSubject: one\r\nReturn-Path: <sender@example.com>\r\n\r\nbody\r\n";

TEST(DeliveryTest, ASubmittedMessageReachesEachMailboxAndLeavesTheQueue) {
  const Installation installation;
  installation.AddMailboxes("box", 3);
  std::string name = installation.MustCvctl({"queue", "submit", "-", "--from", "sender@example.com",
                                             "--to", "acme/box0", "ACME/Box1", "[SF:acme/box2]"},
                                            kMessage);
  name.pop_back();
  installation.RunUntilEmpty();
  for (const char* mailbox : {"box0", "box1", "box2"}) {
    EXPECT_EQ(ReadBytes(installation.MailboxFile(mailbox, name)), kDelivered) << mailbox;
  }
  EXPECT_FALSE(installation.InQueue(name));
  EXPECT_TRUE(fs::is_empty(installation.Queue() + "/Messages"));
  EXPECT_TRUE(installation.Inbox("Box1").empty()) << "names find their directory in any case";
}

// Whether a message has the blank line that ends its headers.
bool HasBlankLine(const std::string& message) {
  return message.starts_with("\n") || message.starts_with("\r\n") ||
         message.find("\n\n") != std::string::npos || message.find("\n\r\n") != std::string::npos;
}

// What delivery makes of a message, but for its Return-Path line: a header block without its blank
// line gets it along with the new line.
std::string Completed(const std::string& message) {
  const std::string rest = WithoutReturnPath(message);
  if (HasBlankLine(message) || rest != message) return rest;
  return rest + (message.ends_with("\n") ? "\r\n" : "\r\n\r\n");
}

// All real messages, byte for byte but for the Return-Path line.
TEST(DeliveryTest, RealMessagesArriveAsTheyWere) {
  if (CorpusFolder().empty()) GTEST_SKIP() << "no corpus; CORVANE_CORPUS names its folder";
  const Installation installation;
  installation.AddMailboxes("box", 5);
  std::vector<std::pair<std::string, std::string>> sent;  // name, source
  for (const auto& entry : fs::directory_iterator(CorpusFolder() / "messages")) {
    const std::string mailbox = "acme/box" + std::to_string(sent.size() % 5);
    std::string name = installation.MustCvctl({"queue", "submit", entry.path().string(), "--from",
                                               "corpus-test@example.net", "--to", mailbox});
    name.pop_back();
    sent.emplace_back(name, entry.path().string());
  }
  installation.RunUntilEmpty();
  for (std::size_t i = 0; i < sent.size(); ++i) {
    const std::string delivered =
        ReadBytes(installation.MailboxFile("box" + std::to_string(i % 5), sent[i].first));
    EXPECT_NE(delivered.find("Return-Path: <corpus-test@example.net>\r\n"), std::string::npos)
        << sent[i].second;
    EXPECT_TRUE(WithoutReturnPath(delivered) == Completed(ReadBytes(sent[i].second)))
        << sent[i].second;
  }
}

}  // namespace
}  // namespace corvane::test
