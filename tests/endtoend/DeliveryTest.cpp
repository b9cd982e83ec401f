// A message from the queue into a mailbox, by the real programs.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>

#include "tests/endtoend/Installation.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;
using test::CommandFor;
using test::Installation;
using test::NameOf;
using test::ReadBytes;
using test::WithoutReturnPath;

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

TEST(DeliveryTest, SenderAndKindDecideTheReturnPath) {
  const Installation installation;
  installation.AddMailboxes("box", 1);
  installation.Set("CONNECTORS\\SMTP", "Bad Mail Notification Sender Address",
                   "Postmaster@acme.example");
  installation.PutRaw(NameOf(1),
                      CommandFor(NameOf(1), "[SF:acme/box0]", "[SMTP:postmaster@ACME.example]"),
                      kMessage);
  installation.PutRaw(NameOf(2), CommandFor(NameOf(2), "[SF:acme/box0]", "[SF:acme/anna]"),
                      kMessage);
  installation.PutRaw(NameOf(3), "CommandType=ndr\r\n" + CommandFor(NameOf(3), "[SF:acme/box0]"),
                      kMessage);
  installation.PutRaw(NameOf(4), CommandFor(NameOf(4), "[SF:acme/box0]"), kDelivered);
  installation.RunUntilEmpty();
  for (unsigned number : {1U, 2U, 3U}) {
    EXPECT_NE(
        ReadBytes(installation.MailboxFile("box0", NameOf(number))).find("Return-Path: <>\r\n"),
        std::string::npos)
        << number;
  }
  EXPECT_EQ(ReadBytes(installation.MailboxFile("box0", NameOf(4))), kDelivered);
}

TEST(DeliveryTest, AMailboxWithoutItsInboxGetsOne) {
  const Installation installation;
  installation.AddMailboxes("box", 1);
  fs::remove_all(installation.MailRoot() + "/acme/MAILROOT/box0");
  installation.PutRaw(NameOf(1), CommandFor(NameOf(1), "[SF:acme/box0]"), kMessage);
  installation.RunUntilEmpty();
  EXPECT_EQ(ReadBytes(installation.MailboxFile("box0", NameOf(1))), kDelivered);
}

TEST(DeliveryTest, WhatIsStuckIsResetAtStart) {
  const Installation installation;
  installation.AddMailboxes("box", 1);
  std::string command = CommandFor(NameOf(1), "[SF:acme/box0]");
  command.replace(command.find("Unsent"), 6, "Delivering");
  installation.PutRaw(NameOf(1), command, kMessage);
  installation.RunUntilEmpty();
  EXPECT_EQ(ReadBytes(installation.MailboxFile("box0", NameOf(1))), kDelivered);
}

// Whether a message has the blank line that ends its headers.
bool HasBlankLine(const std::string& message) {
  return message.starts_with("\n") || message.starts_with("\r\n") ||
         message.find("\n\n") != std::string::npos || message.find("\n\r\n") != std::string::npos;
}

// What delivery makes of a message, but for its Return-Path line: a header block without its blank
// line gets it.
std::string Completed(const std::string& message) {
  if (HasBlankLine(message)) return WithoutReturnPath(message);
  return WithoutReturnPath(message) + (message.ends_with("\n") ? "\r\n" : "\r\n\r\n");
}

// All real messages, byte for byte but for the Return-Path line.
TEST(DeliveryTest, RealMessagesArriveAsTheyWere) {
  const char* named = std::getenv("CORVANE_CORPUS");
  const fs::path corpus =
      fs::path(named != nullptr ? named : CORVANE_SOURCE_DIR "/../shared/corpus") / "messages";
  if (!fs::is_directory(corpus)) GTEST_SKIP() << "no corpus at " << corpus;
  const Installation installation;
  installation.AddMailboxes("box", 5);
  std::vector<std::pair<std::string, std::string>> sent;  // name, source
  for (const auto& entry : fs::directory_iterator(corpus)) {
    const std::string mailbox = "acme/box" + std::to_string(sent.size() % 5);
    std::string name = installation.MustCvctl({"queue", "submit", entry.path().string(), "--from",
                                               "sender@example.com", "--to", mailbox});
    name.pop_back();
    sent.emplace_back(name, entry.path().string());
  }
  installation.RunUntilEmpty();
  for (std::size_t i = 0; i < sent.size(); ++i) {
    const std::string delivered =
        ReadBytes(installation.MailboxFile("box" + std::to_string(i % 5), sent[i].first));
    EXPECT_NE(delivered.find("Return-Path: <sender@example.com>\r\n"), std::string::npos)
        << sent[i].second;
    EXPECT_TRUE(WithoutReturnPath(delivered) == Completed(ReadBytes(sent[i].second)))
        << sent[i].second;
  }
}

}  // namespace
}  // namespace corvane
