// Death at any moment, and two connectors on one queue: every message whole, in its mailbox, once.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
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

// A message whose end tells that it is whole.
std::string MessageOf(unsigned number) {
  return "Subject: " + std::to_string(number) + "\r\n\r\n" +
         std::string(500 + (number * 7919U) % 60'000, 'm') + "\r\nEND " + std::to_string(number) +
         "\r\n";
}

std::string BoxOf(unsigned number) { return "box" + std::to_string(number % kMailboxes); }

void Fill(const Installation& installation, unsigned from, unsigned count) {
  for (unsigned number = from; number < from + count; ++number) {
    installation.PutRaw(NameOf(number),
                        CommandFor(NameOf(number), "[SF:acme/" + BoxOf(number) + "];[SF:acme/all]"),
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

void ExpectDelivered(const Installation& installation, unsigned from, unsigned count) {
  for (unsigned number = from; number < from + count; ++number) {
    for (const std::string& box : {BoxOf(number), std::string("all")}) {
      EXPECT_EQ(test::WithoutReturnPath(ReadBytes(installation.MailboxFile(box, NameOf(number)))),
                MessageOf(number))
          << NameOf(number) << " in " << box;
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
    Fill(installation, next, 40);
    next += 40;
    const auto connector = installation.StartConnector();
    // The first sweep begins a second after the start.
    std::this_thread::sleep_for(std::chrono::milliseconds(1000 + random() % 150));
    EXPECT_EQ(connector->Signal(SIGKILL), -SIGKILL);
    ExpectWholeFiles(installation.MailRoot(), false);
    ExpectWholeFiles(installation.Queue(), true);
  }
  installation.RunUntilEmpty();
  ExpectDelivered(installation, 1, next - 1);
}

TEST(CrashTest, TwoConnectorsDeliverEachMessageOnce) {
  const Installation installation(10);
  installation.AddMailboxes("box", kMailboxes);
  installation.MustCvctl({"mailbox", "add", "acme/all"});
  installation.Set("CONNECTORS\\SF", "Activity Log Enabled", "0");
  const auto first = installation.StartConnector();
  const auto second = installation.StartConnector();
  constexpr unsigned kCount = 300;
  Fill(installation, 1, kCount);
  EXPECT_TRUE(installation.WaitForEmptyQueue(*first));
  EXPECT_EQ(first->Signal(SIGTERM), 0);
  EXPECT_EQ(second->Signal(SIGTERM), 0);
  ExpectDelivered(installation, 1, kCount);
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
