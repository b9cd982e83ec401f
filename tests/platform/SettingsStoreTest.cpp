// SettingsStoreTest.cpp -- what readers see, whoever writes and whatever happens to the file.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "platform/Database.h"
#include "platform/SettingsStore.h"
#include "tests/support/AsNobody.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/RunProgram.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/TestClock.h"
#include "tests/support/Threads.h"

namespace corvane::platform {
namespace {

using test::ErrorOf;

using Kind = SettingChange::Kind;

constexpr const char* kKey = "SOFTWARE\\Wow6432Node\\Corvane\\Corvane\\CONNECTORS\\SF";

SettingChange Set(std::string key, std::string name, SettingValue value) {
  return {Kind::kSet, std::move(key), std::move(name), std::move(value)};
}

class SettingsStoreTest : public testing::Test {
 protected:
  // Long enough for the store to look at its path again.
  void PassLookInterval() { clock_.Advance(250); }

  // A change as an administrator makes it with SQLite's own tool.
  static void ChangeFromOutside(const std::string& path, const char* sql) {
    Database database = Database::Open(path, DatabaseMode::kReadWrite);
    ASSERT_TRUE(database.Execute(sql)) << database.ErrorText();
  }

  test::TestClock clock_;
  test::TemporaryDirectory directory_;
  std::string path_ = directory_ / "settings.db";
  SettingsStore store_{path_};
};

TEST_F(SettingsStoreTest, ValuesOfAllTypesComeBack) {
  const SettingValue values[] = {
      SettingValue::Dword(0),   SettingValue::Dword(0xFFFFFFFF),
      SettingValue::String(""), SettingValue::String("C:\\Mail \xc3\xa4"),
      SettingValue::Binary(""), SettingValue::Binary(std::string_view("\0\xff\x01", 3)),
  };
  for (const SettingValue& value : values) {
    ASSERT_TRUE(store_.Apply({Set(kKey, "Value", value)})) << store_.ErrorText();
    EXPECT_EQ(store_.Get(kKey, "Value"), value);
    EXPECT_EQ(SettingsStore(path_).Get(kKey, "Value"), value) << "read from the file";
    EXPECT_EQ(store_.GetDword(kKey, "Value").has_value(), value.type == SettingType::kDword);
    EXPECT_EQ(store_.GetString(kKey, "Value").has_value(), value.type == SettingType::kString);
  }
}

TEST_F(SettingsStoreTest, KeysAreFoundInEverySpelling) {
  ASSERT_TRUE(store_.SetDword("SOFTWARE\\Corvane\\Sub Key", "The Name", 7));
  const char* found[] = {
      "SOFTWARE\\Corvane\\Sub Key",       "software\\CORVANE\\sub key",
      "HKLM\\Software\\Corvane\\Sub Key", "hkey_local_machine\\Software\\Corvane\\Sub Key",
      "HKLM/SOFTWARE/Corvane//Sub Key/",  "\\SOFTWARE\\\\Corvane\\Sub Key\\\\",
  };
  for (const char* key : found) EXPECT_EQ(store_.GetDword(key, "THE NAME"), 7U) << key;
  const char* absent[] = {"SOFTWARE\\Corvane", "SOFTWARE\\Corvane\\Sub Key\\x", "",
                          "HKLMSOFTWARE\\Corvane\\Sub Key", "SOFTWARE\\Corvane\\Sub Key x"};
  for (const char* key : absent) EXPECT_FALSE(store_.GetDword(key, "The Name")) << key;
  EXPECT_FALSE(store_.GetDword(found[0], "The Name ")) << "names are whole";
}

TEST_F(SettingsStoreTest, TheFirstSpellingIsKept) {
  ASSERT_TRUE(store_.SetDword("SOFTWARE\\First", "Name", 1));
  ASSERT_TRUE(store_.SetDword("software\\FIRST", "NAME", 2));
  ASSERT_TRUE(store_.SetDword("software\\FIRST", "Other", 3));
  const std::vector<SettingEntry> kept = {{"SOFTWARE\\First", "Name", SettingValue::Dword(2)},
                                          {"SOFTWARE\\First", "Other", SettingValue::Dword(3)}};
  EXPECT_EQ(store_.List(""), kept);
}

TEST_F(SettingsStoreTest, ListsAKeyWithWhatIsBelowInOrder) {
  ASSERT_TRUE(store_.Apply({
      Set("S\\Key b", "x", SettingValue::Dword(1)),
      Set("S\\key", "b", SettingValue::Dword(2)),
      Set("S\\Key\\Sub", "x", SettingValue::Dword(3)),
      Set("S\\key", "A", SettingValue::Dword(4)),
      Set("S\\key", "", SettingValue::String("default")),
      {Kind::kMakeKey, "S\\Key\\Bare", "", {}},
      {Kind::kMakeKey, "S\\Key\\Sub", "", {}},
  }));
  std::vector<std::string> lines;
  for (const SettingEntry& entry : store_.List("hklm\\s\\KEY")) {
    lines.push_back(entry.key + ":" + entry.name + ":" +
                    std::to_string(static_cast<int>(entry.value.type)));
  }
  std::vector<std::string> expected = {"S\\key::1", "S\\key:A:4", "S\\key:b:4", "S\\Key\\Bare::0",
                                       "S\\Key\\Sub:x:4"};
  EXPECT_EQ(lines, expected);
}

TEST_F(SettingsStoreTest, DeletionsAreExact) {
  auto fill = [&] {
    ASSERT_TRUE(store_.Apply(
        {Set("S\\A", "one", SettingValue::Dword(1)), Set("S\\A", "two", SettingValue::Dword(2)),
         Set("S\\A\\B", "one", SettingValue::Dword(3)), Set("S\\AB", "one", SettingValue::Dword(4)),
         Set("S\\A B", "one", SettingValue::Dword(5))}));
  };
  // What goes, and how many values stay.
  const std::tuple<const char*, SettingChange, std::size_t> cases[] = {
      {"a value", {Kind::kDeleteValue, "s\\a", "ONE", {}}, 4},
      {"a value that isn't there", {Kind::kDeleteValue, "S\\A", "three", {}}, 5},
      {"a key's last value leaves the key", {Kind::kDeleteValue, "S\\AB", "one", {}}, 5},
      {"a key with what is below", {Kind::kDeleteKey, "s\\A", "", {}}, 2},
      {"a key above them all", {Kind::kDeleteKey, "S", "", {}}, 0},
      {"a key that isn't there", {Kind::kDeleteKey, "S\\C", "", {}}, 5},
  };
  for (const auto& [name, change, left] : cases) {
    ASSERT_TRUE(store_.Apply({{Kind::kDeleteKey, "S", "", {}}}));
    fill();
    ASSERT_TRUE(store_.Apply({change})) << name;
    EXPECT_EQ(store_.List("").size(), left) << name;
  }
}

TEST_F(SettingsStoreTest, ChangesAreAllOrNone) {
  ASSERT_TRUE(store_.SetDword(kKey, "Value", 1));
  EXPECT_EQ(ErrorOf(store_.Apply({Set(kKey, "Value", SettingValue::Dword(2)),
                                  Set("HKLM\\", "Value", SettingValue::Dword(2))})),
            kErrorInvalidParameter);
  EXPECT_EQ(store_.GetDword(kKey, "Value"), 1U);
}

TEST_F(SettingsStoreTest, AnothersChangeIsSeenByTheNextRead) {
  ASSERT_TRUE(store_.SetDword(kKey, "Value", 1));
  SettingsStore other(path_);
  for (std::uint32_t number = 2; number < 50; ++number) {
    ASSERT_TRUE(other.SetDword(kKey, "Value", number));
    ASSERT_EQ(store_.GetDword(kKey, "Value"), number);
    ASSERT_TRUE(store_.NoteDword(kKey, "Value", number + 1000));
    ASSERT_EQ(other.GetDword(kKey, "Value"), number + 1000);
  }
  ChangeFromOutside(path_, "UPDATE setting SET value = 77 WHERE name = 'value'");
  EXPECT_EQ(store_.GetDword(kKey, "Value"), 77U);
}

TEST_F(SettingsStoreTest, AChangeBesideACounterIsNotPassedOver) {
  ASSERT_TRUE(store_.SetDword(kKey, "Counter", 1));
  ASSERT_TRUE(store_.SetDword(kKey, "Value", 1));
  SettingsStore other(path_);
  ASSERT_TRUE(other.SetDword(kKey, "Value", 2));
  ASSERT_TRUE(store_.NoteDword(kKey, "Counter", 2));
  EXPECT_EQ(store_.GetDword(kKey, "Value"), 2U);
  EXPECT_EQ(store_.GetDword(kKey, "Counter"), 2U);
}

TEST_F(SettingsStoreTest, AMissingStoreIsAbsentUntilItAppears) {
  SetLastError(77);
  EXPECT_FALSE(store_.Get(kKey, "Value"));
  EXPECT_EQ(LastError(), 77) << "absent is no error of the reader's";
  EXPECT_EQ(ErrorOf(store_.Readable()), kErrorFileNotFound);
  EXPECT_NE(store_.ErrorText().find("settings.db"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(path_)) << "reading makes nothing";
  ASSERT_TRUE(SettingsStore(path_).SetDword(kKey, "Value", 5));
  PassLookInterval();
  EXPECT_EQ(store_.GetDword(kKey, "Value"), 5U);
  EXPECT_TRUE(store_.Readable());
}

TEST_F(SettingsStoreTest, AStoreThatIsReplacedOrRemovedIsNoticed) {
  ASSERT_TRUE(store_.SetDword(kKey, "Value", 1));
  ASSERT_TRUE(SettingsStore(directory_ / "new.db").SetDword(kKey, "Value", 2));
  for (const char* end : {"-wal", "-shm"}) std::filesystem::remove(path_ + end);
  std::filesystem::rename(directory_ / "new.db", path_);
  PassLookInterval();
  EXPECT_EQ(store_.GetDword(kKey, "Value"), 2U);
  for (const char* end : {"", "-wal", "-shm"}) std::filesystem::remove(path_ + end);
  PassLookInterval();
  EXPECT_EQ(store_.GetDword(kKey, "Value"), 2U) << "what was read last";
  EXPECT_FALSE(store_.Readable());
  ASSERT_TRUE(store_.SetDword(kKey, "Other", 3));
  EXPECT_EQ(store_.GetDword(kKey, "Other"), 3U);
  EXPECT_FALSE(store_.GetDword(kKey, "Value")) << "a new store";
}

TEST_F(SettingsStoreTest, UnusableStoresSayWhy) {
  test::WriteBytes(directory_ / "noise.db", std::string(20'000, 'x'));
  test::WriteBytes(directory_ / "empty.db", "");
  std::filesystem::create_directory(directory_ / "folder.db");
  const std::pair<const char*, std::int32_t> cases[] = {
      {"noise.db", kErrorFileCorrupt},
      {"folder.db", kErrorAccessDenied},
      {"none/settings.db", kErrorPathNotFound},
      {"empty.db", 0},
  };
  for (const auto& [file, error] : cases) {
    SettingsStore store(directory_ / file);
    EXPECT_FALSE(store.Get(kKey, "Value")) << file;
    EXPECT_EQ(store.Readable(), error == 0) << file;
    SetLastError(0);
    EXPECT_EQ(store.SetDword(kKey, "Value", 1), error == 0) << file << store.ErrorText();
    EXPECT_EQ(LastError(), error) << file << store.ErrorText();
    EXPECT_EQ(store.GetDword(kKey, "Value").has_value(), error == 0) << file;
  }
}

TEST_F(SettingsStoreTest, ADamagedStoreKeepsItsLastAnswers) {
  const std::function<void()> damages[] = {
      [&] { ChangeFromOutside(path_, "DROP TABLE setting; CREATE TABLE setting(other)"); },
      [&] { test::WriteBytes(path_, std::string(8192, 'x')); },
  };
  for (const auto& damage : damages) {
    for (const char* end : {"", "-wal", "-shm"}) std::filesystem::remove(path_ + end);
    SettingsStore store(path_);
    ASSERT_TRUE(store.SetDword(kKey, "Value", 1)) << store.ErrorText();
    ChangeFromOutside(path_, "PRAGMA wal_checkpoint(TRUNCATE)");
    damage();
    EXPECT_EQ(store.GetDword(kKey, "Value"), 1U);
    EXPECT_FALSE(store.Readable());
    EXPECT_NE(store.ErrorText(), "");
  }
}

TEST_F(SettingsStoreTest, AFullDiskRefusesAndKeepsWhatItHad) {
  test::SmallDisk disk(400'000);
  if (!disk.IsMounted()) GTEST_SKIP() << "no right to mount a small file system";
  SettingsStore store(disk.Path() + "/settings.db");
  ASSERT_TRUE(store.SetDword(kKey, "Value", 1)) << store.ErrorText();
  EXPECT_EQ(ErrorOf(store.SetString(kKey, "Value", std::string(600'000, 'x'))), kErrorDiskFull);
  EXPECT_NE(store.ErrorText().find("full"), std::string::npos) << store.ErrorText();
  EXPECT_EQ(store.GetDword(kKey, "Value"), 1U);
  EXPECT_TRUE(store.SetDword(kKey, "Value", 2)) << store.ErrorText();
  EXPECT_EQ(store.GetDword(kKey, "Value"), 2U);
}

TEST_F(SettingsStoreTest, ReadOnlyStoresAreReadAndFollowed) {
  ASSERT_TRUE(SettingsStore(path_).SetDword(kKey, "Value", 1));
  std::filesystem::permissions(directory_.Path(), std::filesystem::perms(0755));
  std::filesystem::permissions(path_, std::filesystem::perms(0644));
  {
    test::AsNobody nobody;
    EXPECT_EQ(store_.GetDword(kKey, "Value"), 1U) << store_.ErrorText();
    SetLastError(0);
    EXPECT_EQ(ErrorOf(store_.SetDword(kKey, "Value", 2)), kErrorAccessDenied) << store_.ErrorText();
    EXPECT_EQ(store_.GetDword(kKey, "Value"), 1U);
  }
  SettingsStore writer(path_);
  for (std::uint32_t number = 3; number < 6; ++number) {
    ASSERT_TRUE(writer.SetDword(kKey, "Value", number));
    test::AsNobody nobody;
    EXPECT_EQ(store_.GetDword(kKey, "Value"), number);
  }
}

TEST_F(SettingsStoreTest, ReadersNeverSeeHalfAChange) {
  SettingsStore writer(path_);
  auto pair = [&](std::uint32_t number) {
    return writer.Apply({Set(kKey, "First", SettingValue::Dword(number)),
                         Set(kKey, "Second", SettingValue::String(std::to_string(number)))});
  };
  ASSERT_TRUE(pair(0));
  std::atomic<bool> stop{false};
  std::atomic<std::uint32_t> written{0};
  std::atomic<int> faults{0};
  auto read = [&] {
    std::uint32_t last = 0;
    while (!stop) {
      std::uint32_t atLeast = written.load();
      std::vector<SettingEntry> entries = store_.List(kKey);
      std::uint32_t first = entries.at(0).value.number;
      bool whole = entries.at(1).value.bytes == std::to_string(first);
      std::uint32_t now = store_.GetDword(kKey, "First").value_or(0);
      if (!whole || first < atLeast || first < last || now < first) ++faults;
      last = first;
    }
  };
  test::Threads readers(4, [&](int) { read(); });
  for (std::uint32_t number = 1; number <= 200; ++number) {
    EXPECT_TRUE(pair(number));
    written = number;
  }
  stop = true;
  readers.Join();
  EXPECT_EQ(faults, 0);
}

// Another program has the store to itself for a while.
class Occupied {
 public:
  explicit Occupied(const std::string& path)
      : database_(Database::Open(path, DatabaseMode::kReadWrite)) {
    EXPECT_TRUE(database_.Execute("BEGIN IMMEDIATE"));
  }
  void End() { EXPECT_TRUE(database_.Execute("COMMIT")); }

 private:
  Database database_;
};

TEST_F(SettingsStoreTest, ReadersDoNotWaitForAWriterThatWaits) {
  ASSERT_TRUE(store_.SetDword(kKey, "Value", 1));
  Occupied other(path_);
  std::atomic<bool> begun{false};
  bool written = false;
  std::thread writer([&] {
    begun = true;
    written = store_.SetDword(kKey, "Value", 2);
  });
  while (!begun) std::this_thread::yield();
  // Each thread's first read takes the longest way. A reader that waited would wait until the
  // writer gives up.
  for (int i = 0; i < 500; ++i) {
    std::thread([&] { EXPECT_EQ(store_.GetDword(kKey, "Value"), 1U); }).join();
  }
  other.End();
  writer.join();
  EXPECT_TRUE(written);
  EXPECT_EQ(store_.GetDword(kKey, "Value"), 2U);
}

TEST_F(SettingsStoreTest, ACounterGivesUpSoonWhereASettingWaits) {
  ASSERT_TRUE(store_.SetDword(kKey, "Counter", 1));
  Occupied other(path_);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ErrorOf(store_.NoteDword(kKey, "Counter", 2)), kErrorSharingViolation);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(store_.GetDword(kKey, "Counter"), 1U);
  other.End();
  EXPECT_TRUE(store_.NoteDword(kKey, "Counter", 3));
  EXPECT_EQ(store_.GetDword(kKey, "Counter"), 3U);
}

TEST_F(SettingsStoreTest, CountersAndChangesOfManyThreadsAreAllSeen) {
  constexpr std::uint32_t kSteps = 100;
  ASSERT_TRUE(store_.SetDword(kKey, "Shared", 0));
  test::Threads threads(4, [&](int number) {
    const std::string name = "Counter " + std::to_string(number);
    for (std::uint32_t step = 1; step <= kSteps; ++step) {
      // One that found the store busy for too long is left out.
      const bool noted = store_.NoteDword(kKey, name, step);
      EXPECT_TRUE(!noted || store_.GetDword(kKey, name) == step) << name;
    }
  });
  SettingsStore other(path_);
  for (std::uint32_t step = 1; step <= kSteps / 4; ++step) {
    EXPECT_TRUE(other.SetDword(kKey, "Shared", step));
    EXPECT_EQ(store_.GetDword(kKey, "Shared"), step);
  }
}

// Run by the next test in a process of its own.
TEST(SettingsStoreChild, DISABLED_CountsUp) {
  SettingsStore& store = SettingsStore::Default();
  for (std::uint32_t number = 1; number <= 300; ++number) {
    ASSERT_TRUE(store.Apply({Set(kKey, "First", SettingValue::Dword(number)),
                             Set(kKey, "Second", SettingValue::Dword(number))}));
  }
}

TEST_F(SettingsStoreTest, AnotherProcessWritesWhileWeRead) {
  ASSERT_TRUE(store_.SetDword(kKey, "First", 0));
  ASSERT_TRUE(store_.SetDword(kKey, "Second", 0));
  std::atomic<bool> done{false};
  test::ProgramResult result;
  std::thread child([&] {
    result = test::RunProgram({test::ThisProgram(), "--gtest_also_run_disabled_tests",
                               "--gtest_filter=SettingsStoreChild.*"},
                              {{"CORVANE_SETTINGS", path_}});
    done = true;
  });
  std::uint32_t last = 0;
  while (!done) {
    std::vector<SettingEntry> entries = store_.List(kKey);
    ASSERT_EQ(entries.at(0).value, entries.at(1).value);
    ASSERT_GE(entries[0].value.number, last);
    last = entries[0].value.number;
  }
  child.join();
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_EQ(store_.GetDword(kKey, "First"), 300U);
}

}  // namespace
}  // namespace corvane::platform
