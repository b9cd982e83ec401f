// SettingsCommandsTest.cpp -- cvctl settings as administrators and scripts use it: output, exit
// codes, and one line on standard error that says what to do.

#include <algorithm>
#include <filesystem>

#include "connector/settings/RegistryText.h"
#include "tests/tools/cvctl/CvctlFixture.h"

namespace corvane {
namespace {

using test::Words;

class SettingsCommandsTest : public testing::Test {
 protected:
  test::ProgramResult Run(Words words) {
    words.insert(words.begin(), "settings");
    return test::RunCvctl(words, store_);
  }
  std::string Get(const std::string& key, const std::string& name) {
    return Run({"get", key, name}).output;
  }

  test::TemporaryDirectory directory_;
  std::string store_ = directory_ / "settings.db";
};

TEST_F(SettingsCommandsTest, ValuesAreSetReadAndDeletedByEverySpellingOfAKey) {
  EXPECT_EQ(Run({"get", ".", "Mail Root"}).exitCode, 1);
  EXPECT_FALSE(std::filesystem::exists(store_));
  ASSERT_EQ(Run({"set", ".", "Mail Root", "/srv/mail"}).exitCode, 0);
  EXPECT_EQ(Get("HKLM\\SOFTWARE\\Wow6432Node\\Corvane\\Corvane", "mail root"), "/srv/mail\n");
  EXPECT_EQ(Get("HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Corvane", "Mail Root"), "/srv/mail\n");
  EXPECT_EQ(Get("software/corvane/corvane", "Mail Root"), "/srv/mail\n");
  ASSERT_EQ(Run({"delete", ".", "MAIL ROOT"}).exitCode, 0);
  test::ProgramResult absent = Run({"get", ".", "Mail Root"});
  EXPECT_EQ(absent.exitCode, 1);
  EXPECT_EQ(absent.output + absent.errors, "");
  EXPECT_EQ(Run({"delete", ".", "Mail Root"}).exitCode, 1);
}

TEST_F(SettingsCommandsTest, TypesComeFromTheTableOrTheCommandLine) {
  // What is set, and how it is shown.
  const std::pair<Words, const char*> cases[] = {
      {{"CONNECTORS\\SF", "Maximum Pickup Threads", "20"}, "20\n"},
      {{"CONNECTORS\\SF", "Maximum Pickup Threads", "0x10"}, "16\n"},
      {{".", "Notify Clients TimeOut", "-1"}, "4294967295\n"},
      {{"CONNECTORS\\SF", "Overflow Mailbox", "20"}, "20\n"},
      {{"CONNECTORS\\SF", "Overflow Mailbox", ""}, "\n"},
      {{"A\\B", "Any", "7", "--dword"}, "7\n"},
      {{"A\\B", "Any", "7", "--string"}, "7\n"},
      {{"A\\B", "Any", "00 ff,1A", "--binary"}, "00ff1a\n"},
  };
  for (const auto& [set, shown] : cases) {
    Words words = set;
    words.insert(words.begin(), "set");
    const test::ProgramResult result = Run(words);
    EXPECT_EQ(result.exitCode, 0) << set[1] << result.errors;
    EXPECT_EQ(Get(set[0], set[1]), shown);
  }
}

TEST_F(SettingsCommandsTest, EveryCommandAnswersInJsonWhenAsked) {
  using nlohmann::json;
  const auto ask = [&](Words words) {
    words.emplace_back("--json");
    return json::parse(Run(words).output, nullptr, false);
  };
  EXPECT_EQ(ask({"set", ".", "Mail Root", "/srv\x1b\xff"})["done"], "set");
  const json root = ask({"get", ".", "Mail Root"});
  EXPECT_EQ(root["type"], "string");
  EXPECT_EQ(root["value"], "/srv\x1b\xef\xbf\xbd");
  EXPECT_EQ(Get(".", "Mail Root"), "/srv\x1b\xff\n") << "a script gets the value as it stands";
  EXPECT_NE(Run({"list"}).output.find("/srv?? "), std::string::npos);
  test::WriteBytes(directory_ / "in.reg", "REGEDIT4\n[HKLM\\SOFTWARE\\A]\n\"b\"=hex:01,02\n");
  EXPECT_EQ(ask({"import", directory_ / "in.reg"}), json({{"imported", 1}, {"store", store_}}));
  EXPECT_EQ(ask({"export", "HKLM\\SOFTWARE\\A"})["values"],
            json::array(
                {{{"key", "SOFTWARE\\A"}, {"name", "b"}, {"type", "binary"}, {"value", "0102"}}}));
  EXPECT_EQ(ask({"export", ".", directory_ / "out.reg"})["done"], "written");
  EXPECT_EQ(ask({"delete", "HKLM\\SOFTWARE\\A"})["done"], "deleted");
  EXPECT_EQ(Run({"list", "HKLM\\SOFTWARE\\A"}).exitCode, 1);
}

TEST_F(SettingsCommandsTest, WrongUseIsOneHelpfulLineAndExit2) {
  test::WriteBytes(directory_ / "bad.reg", "REGEDIT4\n[HKLM\\A]\n\"a\"=dword:1\n\"b\"=nonsense\n");
  const std::pair<Words, const char*> cases[] = {
      {{"set", ".", "Cluster Status", "many"}, "no 32-bit number"},
      {{"set", ".", "Cluster Status", "4294967296"}, "no 32-bit number"},
      {{"set", ".", "Cluster Status", ""}, "no 32-bit number"},
      {{"set", "CONNECTORS\\SF", "Maximum Pickup Thread", "5"},
       "did you mean 'Maximum Pickup Threads'"},
      {{"set", "HKLM", "Any", "5", "--dword"}, "name a key below it"},
      {{"delete", "hkey_local_machine\\"}, "name a key below it"},
      {{"set", "HKLM\\A]; B", "Any", "5", "--dword"}, "can't be a key"},
      {{"set", "HKLM\\A\nB", "Any", "5", "--dword"}, "can't be a key"},
      {{"delete", "HKLM", "Any"}, "name a key below it"},
      {{"set", ".", "Maximum Pickup Threads", "5"}, "belongs under CONNECTORS\\SF"},
      {{"set", ".", "X", "1", "--dword", "--string"}, "--help"},
      {{"set", ".", "X", "0", "--binary"}, "two hexadecimal digits"},
      {{"set", ".", "X"}, "--help"},
      {{"import", directory_ / "none.reg"}, "none.reg"},
      {{"import", directory_ / "bad.reg"}, "line 4"},
      {{}, "--help"},
      {{"paint"}, "--help"},
  };
  for (const auto& [words, says] : cases) test::ExpectRefused(Run(words), {words, 2, says});
  EXPECT_FALSE(std::filesystem::exists(store_)) << "nothing was changed";
}

TEST_F(SettingsCommandsTest, AnUnusableStoreIsExit3AMissingOne1) {
  EXPECT_EQ(Run({"export"}).exitCode, 1);
  EXPECT_EQ(Run({"delete", "CONNECTORS"}).exitCode, 1);
  EXPECT_EQ(Run({"list"}).exitCode, 0);
  test::WriteBytes(directory_ / "none.reg", "REGEDIT4\n");
  EXPECT_EQ(Run({"import", directory_ / "none.reg"}).exitCode, 0);
  EXPECT_EQ(Run({"export"}).exitCode, 0) << "an import makes the store, whatever it holds";
  test::WriteBytes(store_, std::string(5000, 'x'));
  const Words commands[] = {{"get", ".", "Mail Root"},
                            {"set", ".", "Mail Root", "/mail"},
                            {"list"},
                            {"export"},
                            {"delete", ".", "Mail Root"}};
  for (const Words& command : commands) {
    const test::ProgramResult result = Run(command);
    EXPECT_EQ(result.exitCode, 3) << command[0];
    EXPECT_NE(result.errors.find("settings.db"), std::string::npos) << result.errors;
  }
}

TEST_F(SettingsCommandsTest, AWideExportOfAnInstallationIsImportedAndExportedAgain) {
  const std::string text =
      "Windows Registry Editor Version 5.00\r\n\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Corvane]\r\n"
      "\"Mail Root\"=\"C:\\\\Mail \xc3\xa4\"\r\n\"Update Statistics\"=dword:00000001\r\n\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Corvane\\Connectors\\SF]\r\n"
      "\"Maximum Pickup Threads\"=dword:0000000c\r\n\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Other]\r\n@=\"kept\"\r\n";
  test::WriteBytes(directory_ / "in.reg", "\xff\xfe" + *settings::Utf16FromUtf8(text));
  ASSERT_EQ(Run({"import", directory_ / "in.reg"}).exitCode, 0);
  EXPECT_EQ(Get(".", "Mail Root"), "C:\\Mail \xc3\xa4\n");
  EXPECT_EQ(Get("CONNECTORS\\SF", "Maximum Pickup Threads"), "12\n");
  EXPECT_EQ(Get("HKLM\\SOFTWARE\\Other", ""), "kept\n");
  std::string all = Run({"export"}).output;
  ASSERT_EQ(Run({"export", ".", directory_ / "out.reg"}).exitCode, 0);
  EXPECT_EQ(test::ReadBytes(directory_ / "out.reg").find("Other"), std::string::npos);
  test::WriteBytes(directory_ / "all.reg", all);
  ASSERT_EQ(Run({"delete", "HKLM\\SOFTWARE"}).exitCode, 0);
  EXPECT_EQ(Run({"get", ".", "Mail Root"}).exitCode, 1);
  ASSERT_EQ(Run({"import", directory_ / "all.reg"}).exitCode, 0);
  EXPECT_EQ(Run({"export"}).output, all);
  std::filesystem::create_symlink("all.reg", directory_ / "link.reg");
  ASSERT_EQ(Run({"export", ".", directory_ / "link.reg"}).exitCode, 0);
  EXPECT_EQ(test::ReadBytes(directory_ / "all.reg"), test::ReadBytes(directory_ / "out.reg"));
  EXPECT_TRUE(std::filesystem::is_symlink(std::string(directory_ / "link.reg")));
  EXPECT_EQ(Run({"export", "", "/dev/stdout"}).output.find(all), 0U);
  ASSERT_EQ(Run({"export", ".", directory_ / "OUT.reg"}).exitCode, 0);
  EXPECT_TRUE(std::filesystem::exists(directory_ / "OUT.reg")) << "beside out.reg";
}

TEST_F(SettingsCommandsTest, TheListShowsWhatIsSetWhatIsUsualAndWhatIsUnknown) {
  ASSERT_EQ(Run({"set", "CONNECTORS\\SF", "Maximum Pickup Threads", "20"}).exitCode, 0);
  ASSERT_EQ(Run({"set", "CONNECTORS\\SF", "Maximum Threads", "3", "--dword"}).exitCode, 0);
  ASSERT_EQ(Run({"set", "HKLM\\SOFTWARE\\Other", "Name", "x", "--string"}).exitCode, 0);
  using nlohmann::json;
  const auto list = [&](Words words) { return json::parse(Run(std::move(words)).output); };
  const auto find = [](const json& in, const char* name) {
    const auto found =
        std::find_if(in.begin(), in.end(), [&](const json& item) { return item["name"] == name; });
    return found == in.end() ? json() : *found;
  };
  const json usual = list({"list", "--json"});
  const json threads = find(usual, "Maximum Pickup Threads");
  EXPECT_EQ(threads["key"], "CONNECTORS\\SF");
  EXPECT_EQ(threads["value"], 20);
  EXPECT_EQ(threads["default"], 10);
  EXPECT_EQ(threads["takesEffect"], "at once");
  EXPECT_EQ(find(usual, "Mail Root")["value"], nullptr);
  EXPECT_EQ(find(usual, "Maximum Threads")["known"], false);
  EXPECT_TRUE(find(usual, "Name").is_null());
  EXPECT_FALSE(find(list({"list", "--all", "--json"}), "Name").is_null());
  EXPECT_EQ(list({"list", "auditing", "--json"}).size(), 4U);
  const std::string table = Run({"list"}).output;
  EXPECT_NE(table.find("? Maximum Threads"), std::string::npos);
  EXPECT_NE(table.find("most messages in delivery at a time"), std::string::npos);
}

}  // namespace
}  // namespace corvane
