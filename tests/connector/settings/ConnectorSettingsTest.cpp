// ConnectorSettingsTest.cpp -- the load at start and the raw calls.

#include <string>
#include <tuple>
#include <vector>

#include "connector/settings/ConnectorSettings.h"
#include "connector/settings/ProcessState.h"
#include "connector/settings/Settings.h"
#include "connector/settings/SettingsSource.h"
#include "tests/support/StoredSettings.h"
#include "tests/support/TemporarySettings.h"

namespace corvane::settings {
namespace {

using test::StoreSetting;

constexpr const char* kSf = "SOFTWARE\\Wow6432Node\\Corvane\\Corvane\\CONNECTORS\\SF";

class ConnectorSettingsTest : public testing::Test {
 protected:
  ConnectorSettingsTest() { ForgetSettings(); }
  ~ConnectorSettingsTest() override { ForgetSettings(); }

  // With these values and no others; null is an absent one.
  void LoadOnly(std::initializer_list<std::pair<const TextSetting&, const char*>> values) {
    ASSERT_TRUE(settings_.Clear());
    for (const auto& [setting, value] : values) {
      if (value != nullptr) StoreSetting(setting, value);
    }
    Load();
  }

  // Loads and returns what the console showed.
  std::string Load() {
    testing::internal::CaptureStdout();
    LoadConnectorSettings([&](const char* name) {
      asked_.emplace_back(name);
      return loadable_;
    });
    return testing::internal::GetCapturedStdout();
  }

  test::TemporarySettings settings_;
  std::vector<std::string> asked_;
  bool loadable_ = true;
};

TEST_F(ConnectorSettingsTest, LoadsEveryStartValueAndClearsTheFlags) {
  std::uint32_t value = 1000;
  for (const DwordSetting* setting : AllNumbers()) StoreSetting(*setting, ++value);
  for (const TextSetting* setting : AllTexts()) StoreSetting(*setting, setting->name);
  StopFlag() = 1;
  StoppedFlag() = 1;
  Load();
  value = 1000;
  for (const DwordSetting* setting : AllNumbers()) EXPECT_EQ(Get(*setting), ++value);
  for (const TextSetting* setting : AllTexts()) EXPECT_EQ(Get(*setting), setting->name);
  EXPECT_EQ(StopFlag(), 0);
  EXPECT_EQ(StoppedFlag(), 0);
  StoreSetting(kOutgoingPollInterval, 5);
  StoreSetting(kRedirectionEnabled, 1);
  EXPECT_NE(Get(kOutgoingPollInterval), 5U);
  EXPECT_NE(Get(kRedirectionEnabled), 1U);
}

TEST_F(ConnectorSettingsTest, TheConsoleTellsOfTheRootAndTheProviders) {
  const std::vector<std::string> order = {"CVAIPO.DLL", "CVAISM.DLL", "CVAIAM.DLL"};
  StoreSetting(kConnectorRootDirectory, "/connectors");
  EXPECT_EQ(Load(), "Loaded SMTP Configuration Provider\nLoaded Address Map Provider\n");
  EXPECT_EQ(asked_, order);
  ASSERT_TRUE(settings_.Clear());
  loadable_ = false;
  EXPECT_EQ(Load(),
            "Unable to determine OutboundMessageQueue. This is a serious problem.\n"
            "Unable to Load Postoffice Configuration Provider\n"
            "Unable to Load Configuration Provider\n"
            "Unable to Load Address Map Provider\n");
  EXPECT_EQ(OutboundMessageQueue(), "");
}

TEST_F(ConnectorSettingsTest, PathsFallBackAsTheyShould) {
  using Row = std::tuple<const char*, const char*, const char*, const char*>;
  // The connector's own root, the common one (null: absent), and the queue.
  const Row queues[] = {
      {"only the common root", nullptr, "C:\\Con", "C:\\Con\\SF\\Outgoing"},
      {"the connector's own root first", "D:\\Sf", "C:\\Con", "D:\\Sf\\SF\\Outgoing"},
      {"an empty one is none", "", "/con/", "/con/SF\\Outgoing"},
      {"only the connector's own root", "/sf", nullptr, "/sf\\SF\\Outgoing"},
      {"nothing at all", nullptr, nullptr, ""},
  };
  for (const auto& [name, own, common, queue] : queues) {
    LoadOnly({{kConnectorRootDirectorySf, own}, {kConnectorRootDirectory, common}});
    EXPECT_EQ(OutboundMessageQueue(), queue) << name;
    EXPECT_EQ(ConnectorRootDirectory(), common == nullptr ? "" : common) << name;
  }
  // The mail root, the old one, and what counts.
  const Row mailRoots[] = {
      {"only the mail root", "/mail", nullptr, "/mail"},
      {"the mail root first", "/mail", "/old", "/mail"},
      {"an empty one is none", "", "/old", "/old"},
      {"only the old one", nullptr, "/old", "/old"},
      {"nothing at all", nullptr, nullptr, ""},
  };
  for (const auto& [name, mailRoot, old, expected] : mailRoots) {
    LoadOnly({{kMailRoot, mailRoot}, {kMailRootDirectory, old}});
    EXPECT_EQ(MailRoot(), expected) << name;
  }
}

TEST_F(ConnectorSettingsTest, FlagsAndTheIntervalFollowTheirRules) {
  EXPECT_FALSE(IsAspxWebmail());
  StoreSetting(kApplicationType, "ASPX");
  StoreSetting(kOutgoingPollInterval, 0);
  StoreSetting(kApplicationDirectory, "/opt/corvane/lib");
  Load();
  EXPECT_TRUE(IsAspxWebmail());
  EXPECT_EQ(Get(kOutgoingPollInterval), 1U);
  EXPECT_EQ(LibraryDirectory(), "/opt/corvane/lib64");
  StoreSetting(kApplicationType, "ASP");
  Load();
  EXPECT_FALSE(IsAspxWebmail());
}

TEST_F(ConnectorSettingsTest, RawNumbersAreReadAsFourBytes) {
  using platform::SettingValue;
  // What is stored, the result, and what is read.
  const std::tuple<const char*, SettingValue, std::int32_t, std::uint32_t> cases[] = {
      {"a number", SettingValue::Dword(0xFFFFFFFF), 1, 0xFFFFFFFF},
      {"four bytes", SettingValue::Binary(std::string_view("\x01\x02\x00\x80", 4)), 1, 0x80000201},
      {"three bytes", SettingValue::Binary("abc"), 0, 77},
      {"five bytes", SettingValue::Binary("abcde"), 0, 77},
      {"no bytes", SettingValue::Binary(""), 0, 77},
      {"a text", SettingValue::String("10"), 0, 77},
  };
  for (const auto& [name, stored, result, expected] : cases) {
    ASSERT_TRUE(
        settings_.Store().Apply({{platform::SettingChange::Kind::kSet, kSf, "Value", stored}}));
    std::uint32_t value = 77;
    EXPECT_EQ(ReadSettingDword(kSf, "value", &value), result) << name;
    EXPECT_EQ(value, expected) << name;
  }
  std::uint32_t value = 77;
  for (const char* key : {"", "SOFTWARE\\Nothing", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(ReadSettingDword(key, "Value", &value), 0);
  }
  EXPECT_EQ(ReadSettingDword(kSf, "Nothing", &value), 0);
  EXPECT_EQ(ReadSettingDword(kSf, "Value", nullptr), 0);
  EXPECT_EQ(value, 77U);
}

TEST_F(ConnectorSettingsTest, RawTextsFillTheirBuffer) {
  ASSERT_TRUE(settings_.Store().SetString(kSf, "Text", "0123456789"));
  ASSERT_TRUE(settings_.Store().SetDword(kSf, "Number", 7));
  // A key and a name, the size of the buffer, the result, and what is in the buffer.
  const std::tuple<const char*, const char*, std::size_t, std::int32_t, const char*> cases[] = {
      {kSf, "Text", 32, 1, "0123456789"},
      {kSf, "Text", 11, 1, "0123456789"},
      {kSf, "Text", 5, 1, "0123"},
      {"Software\\Corvane\\Corvane\\Connectors\\SF", "TEXT", 32, 1, "0123456789"},
      {"SOFTWARE\\CORVANE\\CORVANE\\Connectors\\SF", "Text", 32, 1, "0123456789"},
      {"Software/Corvane/Corvane/Connectors/SF", "Text", 32, 1, "0123456789"},
      {kSf, "Number", 32, 0, ""},
      {kSf, "Nothing", 32, 0, ""},
      {"", "Text", 32, 0, ""},
      {"SOFTWARE\\Elsewhere", "Text", 32, 0, ""},
  };
  for (const auto& [key, name, size, result, text] : cases) {
    char buffer[33] = "untouched";
    EXPECT_EQ(ReadSettingString(key, name, buffer, size), result) << key;
    EXPECT_STREQ(buffer, text) << key;
  }
}

TEST_F(ConnectorSettingsTest, RawWritesMakeTheKey) {
  const char* key = "SOFTWARE\\Wow6432Node\\Corvane\\Corvane\\Connectors\\LS\\Counters";
  std::uint32_t value = 0;
  EXPECT_EQ(WriteSettingDword(key, "Service Start", 1), 0) << "a counter makes no store";
  ASSERT_TRUE(platform::SettingsStore::Default().SetDword("SOFTWARE\\Elsewhere", "Any", 1));
  EXPECT_EQ(WriteSettingDword(key, "Service Start", 1'700'000'000), 1);
  EXPECT_EQ(ReadSettingDword(key, "Service Start", &value), 1);
  EXPECT_EQ(value, 1'700'000'000U);
  EXPECT_EQ(WriteSettingDword("", "Service Start", 1), 0);
  platform::SettingsStore::UsePath("/proc/none/settings.db");
  EXPECT_EQ(WriteSettingDword(key, "Service Start", 1), 0);
}

TEST_F(ConnectorSettingsTest, TheLibraryDirectoryHas64Appended) {
  char buffer[64] = "untouched";
  EXPECT_EQ(GetLibraryDirectory(buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "");
  StoreSetting(kApplicationDirectory, "C:\\Corvane\\bin");
  EXPECT_EQ(GetLibraryDirectory(buffer, sizeof buffer), 1);
  EXPECT_STREQ(buffer, "C:\\Corvane\\bin64");
}

}  // namespace
}  // namespace corvane::settings
