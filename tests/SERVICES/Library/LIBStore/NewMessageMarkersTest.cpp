// The count of new messages in a file's name: how markers collapse, and that no message is left
// uncounted whoever meets whom.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "SERVICES/Library/LIBStore/NewMessageMarkers.h"
#include "platform/Clock.h"
#include "platform/DirectoryLock.h"
#include "platform/Error.h"
#include "platform/File.h"
#include "tests/support/AsNobody.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/SettingsFixture.h"

namespace corvane::test {
namespace {

using Files = std::map<std::string, std::string>;  // names and content

class NewMessageMarkersTest : public SettingsFixture {
 protected:
  NewMessageMarkersTest() {
    Set("Mail Root", Directory() / "mail");
    fs::create_directories(Mailbox());
  }
  [[nodiscard]] std::string Mailbox() const { return Directory() / "mail/acme/MAILROOT/anna"; }
  void Put(const Files& files) const {
    fs::remove_all(Mailbox());
    fs::create_directories(Mailbox() + "/Inbox");
    for (const auto& [name, text] : files) WriteBytes(Mailbox() + "/" + name, text);
  }
  [[nodiscard]] Files Left() const {
    Files files;
    for (const auto& entry : fs::directory_iterator(Mailbox())) {
      if (entry.is_regular_file()) files[entry.path().filename()] = ReadBytes(entry.path());
    }
    return files;
  }
  static void Add(std::string_view text = "") { AddNewMessageMarker("acme", "anna", text); }
  static std::int32_t Take(char* text = nullptr, std::size_t size = 0) {
    return GetNewMessageCount("acme", "anna", text, size);
  }
};

TEST_F(NewMessageMarkersTest, MarkersCollapseIntoTheHighest) {
  const struct {
    const char* name;
    Files before;
    std::int32_t count;
    Files afterCount;
    std::string added;
    Files afterAdd;  // on the same start
  } cases[] = {
      {"none", {}, 0, {}, "", {{"_1.NEW", ""}}},
      {"one", {{"_9.NEW", ""}}, 9, {}, "", {{"_10.NEW", ""}}},
      {"left over", {{"_3.NEW", ""}, {"_5.NEW", ""}, {"_2.NEW", ""}}, 5, {}, "", {{"_6.NEW", ""}}},
      {"an old text goes", {{"_3.NEW", "old"}}, 3, {}, "", {{"_4.NEW", ""}}},
      {"a text comes", {{"_3.NEW", "old"}}, 3, {}, "new", {{"_4.NEW", "new"}}},
      {"a text comes to none", {}, 0, {}, "new", {{"_1.NEW", "new"}}},
      {"the number ends at the first point", {{"_7.x.NEW", ""}}, 7, {}, "", {{"_8.NEW", ""}}},
      {"no number", {{"_x.NEW", ""}}, 0, {}, "", {{"_1.NEW", ""}}},
      {"another file", {{"5.NEW", ""}}, 0, {{"5.NEW", ""}}, "", {{"5.NEW", ""}, {"_1.NEW", ""}}},
      {"other case", {{"_4.new", ""}}, 4, {}, "", {{"_5.NEW", ""}}},
      {"the highest", {{"_2147483647.NEW", ""}}, 2147483647, {}, "", {{"_2147483647.NEW", ""}}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    Put(row.before);
    EXPECT_EQ(Take(), row.count);
    EXPECT_EQ(Left(), row.afterCount);
    EXPECT_EQ(Take(), 0) << "who takes the count clears it";
    Put(row.before);
    Add(row.added);
    EXPECT_EQ(Left(), row.afterAdd);
  }
}

TEST_F(NewMessageMarkersTest, TheTextIsAppendedToWhatTheCallerHas) {
  char text[4096] = "";
  WriteBytes(Mailbox() + "/_1.NEW", "unheard");
  EXPECT_EQ(Take(text, sizeof(text)), 1);
  EXPECT_STREQ(text, "") << "an empty text asks for none";
  WriteBytes(Mailbox() + "/_2.NEW", "one\r\ntwo");
  std::snprintf(text, sizeof(text), "> ");
  EXPECT_EQ(Take(text, sizeof(text)), 2);
  EXPECT_STREQ(text, "> one\r\ntwo");
  WriteBytes(Mailbox() + "/_3.NEW", std::string(5000, 'x'));
  std::snprintf(text, sizeof(text), "> ");
  EXPECT_EQ(Take(text, sizeof(text)), 3);
  EXPECT_EQ(std::string(text), "> " + std::string(2047, 'x'));
  WriteBytes(Mailbox() + "/_4.NEW", "longer");
  std::snprintf(text, sizeof(text), "> ");
  EXPECT_EQ(Take(text, 5), 4);
  EXPECT_STREQ(text, "> lo");
}

TEST_F(NewMessageMarkersTest, WhatCannotBeWrittenIsPassedOver) {
  AddNewMessageMarker("acme", "nobody", "");
  EXPECT_FALSE(fs::exists(Directory() / "mail/acme/MAILROOT/nobody"));
  EXPECT_EQ(GetNewMessageCount("acme", "nobody", nullptr, 0), 0);
  Put({{"_3.NEW", ""}});
  fs::permissions(Directory().Path(), fs::perms::all);
  fs::permissions(Mailbox(),
                  fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
  {
    const AsNobody nobody;
    Add();
    Add("text");
  }
  EXPECT_EQ(Left(), (Files{{"_3.NEW", ""}}));
}

TEST_F(NewMessageMarkersTest, AHeldMarkerIsStillCounted) {
  Put({{"_3.NEW", ""}});
  const auto held =
      platform::File::Open(Mailbox() + "/_3.NEW", platform::Access::kRead, platform::kShareRead,
                           platform::Disposition::kOpenExisting);
  ASSERT_TRUE(held.IsOpen());
  Add();
  EXPECT_EQ(Take(), 4);
}

TEST_F(NewMessageMarkersTest, AStoppedHolderOfTheLockIsPassed) {
  const platform::DirectoryLock stopped(Mailbox());
  ASSERT_TRUE(stopped.IsHeld());
  Add();
  EXPECT_GT(Clock().Slept(), 500);
  EXPECT_EQ(Left(), (Files{{"_1.NEW", ""}}));
}

// Threads of several programs add and take at once; in the end each message was taken exactly once.
TEST_F(NewMessageMarkersTest, NobodyLosesACount) {
  constexpr int kPrograms = 3;
  constexpr int kWriters = 3;
  constexpr int kMessages = 120;
  platform::SetClock(nullptr);  // those who meet the lock wait for it
  const auto work = [](int) {
    std::atomic<int> taken = 0;
    std::atomic<int> writing = kWriters;
    std::vector<std::thread> threads;
    for (int i = 0; i < kWriters; ++i) {
      threads.emplace_back([&writing, i] {
        for (int message = 0; message < kMessages; ++message) {
          Add((message + i) % 8 == 0 ? "text" : "");
        }
        --writing;
      });
    }
    threads.emplace_back([&] {
      while (writing > 0) taken += Take();
    });
    for (std::thread& thread : threads) thread.join();
    return taken.load();
  };
  std::vector<std::unique_ptr<ChildProcess>> programs;
  for (int i = 0; i < kPrograms; ++i) programs.push_back(std::make_unique<ChildProcess>(work));
  std::vector<std::thread> asking;
  std::atomic<int> total = 0;
  for (auto& program : programs) asking.emplace_back([&] { total += program->Ask(0); });
  for (std::thread& thread : asking) thread.join();
  while (!programs.empty()) programs.pop_back();  // a later one holds the ends of the earlier
  EXPECT_EQ(total + Take(), kPrograms * kWriters * kMessages);
  EXPECT_TRUE(Left().empty());
}

}  // namespace
}  // namespace corvane::test
