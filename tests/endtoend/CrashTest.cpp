// Death at any moment, and two connectors on one queue: every message whole, in its mailbox, once.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>

#include "tests/endtoend/Installation.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;
using test::CommandFor;
using test::Installation;
using test::NameOf;
using test::ReadBytes;

constexpr int kMailboxes = 8;
constexpr std::string_view kFollows = "Message contents follow:\r\n\r\n";

// A message whose end tells that it is whole.
std::string MessageOf(unsigned number) {
  return "Subject: " + std::to_string(number) + "\r\n\r\n" +
         std::string(500 + (number * 7919U) % 60'000, 'm') + "\r\nEND " + std::to_string(number) +
         "\r\n";
}

std::string BoxOf(unsigned number) { return "box" + std::to_string(number % kMailboxes); }

bool IsBounced(unsigned number) { return number % 10 == 7; }
bool GoesToBadMail(unsigned number) { return number % 10 == 8; }

// The way of a message's second recipient: a mailbox, a mailbox that is not there, or no address.
std::string SecondItem(unsigned number, bool mixed) {
  if (mixed && IsBounced(number)) return "[SF:acme/nobody]";
  if (mixed && GoesToBadMail(number)) return "[SF:acme/corrupt";
  return "[SF:acme/all]";
}

std::string SenderOf(unsigned number) { return "s" + std::to_string(number) + "@example.com"; }

void Fill(const Installation& installation, unsigned from, unsigned count, bool mixed) {
  for (unsigned number = from; number < from + count; ++number) {
    const std::string recipients = "[SF:acme/" + BoxOf(number) + "];" + SecondItem(number, mixed);
    installation.PutRaw(NameOf(number),
                        CommandFor(NameOf(number), recipients, "[SMTP:" + SenderOf(number) + "]"),
                        MessageOf(number));
  }
}

// Whatever bears a message's name is the whole message, with or without its Return-Path line.
void ExpectWholeFiles(const std::string& root, bool queue) {
  std::error_code vanished;
  for (fs::recursive_directory_iterator walk(root, vanished), end; walk != end;
       walk.increment(vanished)) {
    const std::string name = walk->path().filename().string();
    if (!name.ends_with(".MAI") || (queue && walk->path().parent_path().filename() != "Messages"))
      continue;
    const std::string bytes = ReadBytes(walk->path().string());
    if (bytes.empty() && !fs::exists(walk->path())) continue;
    const auto number =
        static_cast<unsigned>(std::strtoul(name.substr(0, 32).c_str(), nullptr, 16));
    EXPECT_EQ(test::WithoutReturnPath(bytes), MessageOf(number)) << walk->path();
  }
}

// The senders that have been told that a message of theirs did not arrive. Every notice is whole.
std::set<std::string> ToldSenders(const Installation& installation) {
  std::set<std::string> told;
  const std::string inbound = installation.Path("connectors/SF/Inbound");
  for (const auto& entry : fs::directory_iterator(inbound)) {
    if (!entry.is_regular_file()) continue;
    const std::string command = ReadBytes(entry.path().string());
    if (!command.ends_with("Status=Undelivered\r\n")) continue;  // cut off by a death
    const std::size_t at = command.find("[SMTP:") + 6;
    const std::string sender = command.substr(at, command.find(']', at) - at);
    const std::string name = entry.path().filename().string();
    const auto number = static_cast<unsigned>(std::strtoul(sender.c_str() + 1, nullptr, 10));
    const std::string text = ReadBytes(inbound + "/Messages/" + name);
    const std::size_t original = text.find(kFollows);
    EXPECT_NE(original, std::string::npos) << sender;
    if (original == std::string::npos) continue;
    EXPECT_EQ(test::WithoutReturnPath(text.substr(original + kFollows.size())), MessageOf(number));
    told.insert(sender);
  }
  return told;
}

void ExpectIn(const std::string& path, const std::string& what) {
  EXPECT_EQ(test::WithoutReturnPath(ReadBytes(path)), what) << path;
}

void ExpectDelivered(const Installation& installation, unsigned from, unsigned count, bool mixed) {
  const std::set<std::string> told = ToldSenders(installation);
  for (unsigned number = from; number < from + count; ++number) {
    const std::string name = NameOf(number);
    ExpectIn(installation.MailboxFile(BoxOf(number), name), MessageOf(number));
    if (mixed && IsBounced(number)) {
      EXPECT_TRUE(told.contains(SenderOf(number))) << name;
    } else if (mixed && GoesToBadMail(number)) {
      std::string kept = MessageOf(number);
      kept.insert(kept.find("\r\n") + 2,
                  "X-CV-BADMAIL: CORRUPTRECIPIENT, Message has corrupt recipients\r\n");
      ExpectIn(installation.Path("badmail/Messages/") + name, kept);
      EXPECT_TRUE(fs::exists(installation.Path("badmail/") + name));
    } else {
      ExpectIn(installation.MailboxFile("all", name), MessageOf(number));
    }
  }
}

// CORVANE_KILLS sets how often; the default keeps the suite short.
TEST(CrashTest, KillsAtRandomMomentsLoseNothing) {
  const char* wanted = std::getenv("CORVANE_KILLS");
  const int kills = wanted != nullptr ? std::atoi(wanted) : 8;
  const Installation installation;
  installation.AddMailboxes("box", kMailboxes);
  installation.MustCvctl({"mailbox", "add", "acme/all"});
  std::mt19937 random(20261122);
  unsigned next = 1;
  for (int kill = 0; kill < kills; ++kill) {
    Fill(installation, next, 40, true);
    next += 40;
    const auto connector = installation.StartConnector();
    // The first sweep begins a second after the start.
    std::this_thread::sleep_for(std::chrono::milliseconds(1000 + random() % 150));
    EXPECT_EQ(connector->Signal(SIGKILL), -SIGKILL);
    ExpectWholeFiles(installation.MailRoot(), false);
    ExpectWholeFiles(installation.Queue(), true);
    static_cast<void>(ToldSenders(installation));
  }
  installation.RunUntilEmpty();
  ExpectDelivered(installation, 1, next - 1, true);
}

TEST(CrashTest, TwoConnectorsDeliverEachMessageOnce) {
  const Installation installation(10);
  installation.AddMailboxes("box", kMailboxes);
  installation.MustCvctl({"mailbox", "add", "acme/all"});
  installation.Set("CONNECTORS\\SF", "Activity Log Enabled", "0");
  const auto first = installation.StartConnector();
  const auto second = installation.StartConnector();
  constexpr unsigned kCount = 300;
  Fill(installation, 1, kCount, false);
  EXPECT_TRUE(installation.WaitForEmptyQueue(*first));
  EXPECT_EQ(first->Signal(SIGTERM), 0);
  EXPECT_EQ(second->Signal(SIGTERM), 0);
  ExpectDelivered(installation, 1, kCount, false);
  // Each delivery says so once, in whichever connector's log.
  const std::string log = installation.DebugLog();
  for (unsigned number = 1; number <= kCount; ++number) {
    const std::string line = "[" + NameOf(number) + "] Delivered message from ";
    int count = 0;
    for (std::size_t at = log.find(line); at != std::string::npos; at = log.find(line, at + 1))
      ++count;
    EXPECT_EQ(count, 2) << NameOf(number) << " has two recipients";
  }
}

}  // namespace
}  // namespace corvane
