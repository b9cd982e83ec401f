// SettingsCheckTest.cpp -- which lines the check at start gives for what is stored.
#include <gtest/gtest.h>

#include <tuple>

#include "connector/settings/SettingKeys.h"
#include "connector/settings/SettingsCheck.h"
#include "connector/settings/SettingsTable.h"
#include "tests/support/TemporarySettings.h"

namespace corvane::settings {
namespace {

using platform::SettingValue;

TEST(SettingsCheckTest, EachFaultGivesALineAndSoundSettingsNone) {
  // A key, a name, what is stored there, and the line.
  const std::tuple<const char*, const char*, SettingValue, std::string> cases[] = {
      {"CONNECTORS\\SF", "Maximum Pickup Threads", SettingValue::Dword(20), ""},
      {"connectors\\sf", "maximum pickup thread", SettingValue::Dword(20),
       "Setting \"maximum pickup thread\" of connectors\\sf is not known and has no effect; did "
       "you "
       "mean \"Maximum Pickup Threads\"?"},
      {"CONNECTORS\\SF", "Local Domain Name", SettingValue::String("x"),
       "Setting \"Local Domain Name\" of CONNECTORS\\SF is not known and has no effect; it belongs "
       "under CONNECTORS\\SMTP."},
      {".", "Colour", SettingValue::Dword(1),
       "Setting \"Colour\" of . is not known and has no effect."},
      {"CONECTORS\\SF", "Maximum Pickup Threads", SettingValue::Dword(1),
       "Key CONECTORS\\SF is not known; did you mean CONNECTORS\\SF?"},
      {"CONNECTORS\\SF", "Maximum Pickup Threads", SettingValue::String("20"),
       "Setting \"Maximum Pickup Threads\" of CONNECTORS\\SF is no number (DWORD); its default 10 "
       "counts."},
      {"CONNECTORS\\SF", "Overflow Mailbox", SettingValue::Dword(1),
       "Setting \"Overflow Mailbox\" of CONNECTORS\\SF is no text (String); its default "
       "\"POSTMASTER\" counts."},
      {"CONNECTORS\\SF", "Maximum Pickup Threads", SettingValue::Dword(5000),
       "Setting \"Maximum Pickup Threads\" of CONNECTORS\\SF is 5000; expected is 1 to 1000 "
       "(threads)."},
      {"CONNECTORS\\SF", "Maximum Pickup Threads", SettingValue::Binary({"\5\0\0\0", 4}), ""},
      {".", "Notify Clients TimeOut", SettingValue::Dword(kAllBits), ""},
      {"CONNECTORS\\SMTP\\White List", "192.168.0.1", SettingValue::String(""), ""},
      {"CONNECTORS\\SF", "Outbound Queue Length", SettingValue::Dword(4'000'000'000), ""},
      {"Agents\\MTA\\Filters\\MTAFILTER\\Counters", "Other Scans", SettingValue::Dword(1), ""},
      {"CONNECTORS\\POP3", "Port", SettingValue::Dword(110), ""},
      {"HKLM\\SOFTWARE\\Elsewhere", "Maximum Pickup Thread", SettingValue::Dword(1), ""},
  };
  test::TemporarySettings settings;
  for (const auto& [key, name, value, line] : cases) {
    ASSERT_TRUE(settings.Clear());
    ASSERT_TRUE(settings.Store().Apply(
        {{platform::SettingChange::Kind::kSet, WholeKey(key), name, value}}));
    std::vector<std::string> expected;
    if (!line.empty()) expected.push_back(line);
    EXPECT_EQ(CheckSettings(settings.Store()), expected) << name;
  }
}

TEST(SettingKeysTest, KeysArePutInWholeForm) {
  const std::string product = "SOFTWARE\\Wow6432Node\\Corvane\\Corvane";
  const std::pair<const char*, std::string> cases[] = {
      {".", product},
      {"", product},
      {"CONNECTORS\\SF", product + "\\CONNECTORS\\SF"},
      {"connectors/sf/", product + "\\connectors\\sf"},
      {"SOFTWARE\\Other", "SOFTWARE\\Other"},
      {"HKLM\\System\\X", "System\\X"},
      {"HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Corvane\\A", product + "\\A"},
      {"software\\corvane\\corvane", "software\\Wow6432Node\\corvane\\corvane"},
      {"SOFTWARE\\Wow6432Node\\Corvane\\Corvane", product},
      {"SOFTWAREX", product + "\\SOFTWAREX"},
  };
  for (const auto& [given, whole] : cases) EXPECT_EQ(WholeKey(given), whole) << given;
  EXPECT_EQ(RelativeKey(product), ".");
  EXPECT_EQ(RelativeKey(product + "\\A"), "A");
  EXPECT_EQ(RelativeKey("SOFTWARE\\Other"), "SOFTWARE\\Other");
}

}  // namespace
}  // namespace corvane::settings
