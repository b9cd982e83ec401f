// SettingsTest.cpp -- when each kind of setting is read, and the rules over several of them.

#include <set>
#include <tuple>

#include "connector/settings/KnownSettings.h"
#include "connector/settings/Settings.h"
#include "tests/support/StoredSettings.h"
#include "tests/support/TemporarySettings.h"
#include "tests/support/Threads.h"

namespace corvane::settings {
namespace {

using test::StoreSetting;

class SettingsTest : public testing::Test {
 protected:
  SettingsTest() { ForgetSettings(); }
  ~SettingsTest() override { ForgetSettings(); }

  // These values and no others, with nothing held; -1 is an absent one.
  void StoreAnew(std::initializer_list<std::pair<const DwordSetting&, int>> values) {
    ASSERT_TRUE(settings_.Clear());
    ForgetSettings();
    for (const auto& [setting, value] : values) {
      if (value >= 0) StoreSetting(setting, static_cast<std::uint32_t>(value));
    }
  }

  test::TemporarySettings settings_;
};

TEST_F(SettingsTest, EveryDeclarationIsSoundAndItsOwn) {
  std::set<std::string> seen;
  for (const Setting* setting : AllSettings()) {
    std::string place = std::string(WholeKey(setting->key)) + "\\" + setting->name;
    for (char& c : place) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    EXPECT_TRUE(seen.insert(place).second) << place << " is declared twice";
    EXPECT_EQ(FindSetting(WholeKey(setting->key), setting->name), setting) << place;
    EXPECT_NE(KindOfKey(WholeKey(setting->key)), KeyKind::kForeign) << place;
    EXPECT_TRUE((AsNumber(setting) == nullptr) != (AsText(setting) == nullptr)) << place;
  }
  for (const DwordSetting* setting : AllNumbers()) {
    bool usual = setting->defaultValue >= setting->low && setting->defaultValue <= setting->high;
    EXPECT_TRUE(usual || setting->defaultValue == kAllBits) << setting->name;
  }
  EXPECT_EQ(AllSettings().size(), AllNumbers().size() + AllTexts().size());
}

TEST_F(SettingsTest, AbsentValuesGiveTheirDefaults) {
  for (const DwordSetting* setting : AllNumbers()) {
    EXPECT_EQ(Get(*setting), setting->defaultValue) << setting->name;
  }
  for (const TextSetting* setting : AllTexts()) {
    EXPECT_EQ(Get(*setting), setting->defaultValue) << setting->name;
  }
}

TEST_F(SettingsTest, ReadAtEachUseFollowsTheStore) {
  for (std::uint32_t value : {5u, 0u, 4'000'000'000u}) {
    StoreSetting(kMaximumPickupThreads, value);
    EXPECT_EQ(Get(kMaximumPickupThreads), value);
    StoreSetting(kClusterMode, value);
    EXPECT_EQ(Get(kClusterMode), value) << "the poller holds what it reads";
  }
  StoreSetting(kOverflowMailbox, "OVERFLOW");
  EXPECT_EQ(Get(kOverflowMailbox), "OVERFLOW");
  StoreSetting(kOverflowMailbox, "");
  EXPECT_EQ(Get(kOverflowMailbox), "") << "a stored empty text is no absent one";
  StoreSetting(kOverflowMailbox, std::string_view("A\0B", 3));
  EXPECT_EQ(Get(kOverflowMailbox), "A");
}

TEST_F(SettingsTest, StartValuesWaitForTheLoad) {
  StoreSetting(kOutgoingPollInterval, 7);
  StoreSetting(kMailRoot, "/mail");
  EXPECT_EQ(Get(kOutgoingPollInterval), 1U);
  EXPECT_EQ(Get(kMailRoot), "");
}

TEST_F(SettingsTest, CachedValuesHoldUnlessTheyEqualTheirMark) {
  // What is stored first, and whether it holds beside another.
  const std::tuple<const char*, const DwordSetting&, std::uint32_t, bool> cases[] = {
      {"a plain one", kQueuePrioritization, 1, true},
      {"a stored 0", kQueuedDeliveryExpiryThreshold, 0, true},
      {"-1 is the usual mark", kQueuePrioritization, 0xFFFFFFFF, false},
      {"SPF Header Check holds -1", kSpfHeaderCheck, 0xFFFFFFFF, true},
      {"SPF Header Check at its mark", kSpfHeaderCheck, 200000, false},
      {"DSN Status at its mark", kDsnStatus, 10000, false},
      {"Campaign Status at its mark", kCampaignStatus, 10000, false},
      {"Campaign Status holds 200000", kCampaignStatus, 200000, true},
      {"Notify Clients TimeOut at 0", kNotifyClientsTimeOut, 0, false},
      {"Notify Clients TimeOut holds -1", kNotifyClientsTimeOut, 0xFFFFFFFF, true},
  };
  for (const auto& [name, setting, first, held] : cases) {
    ForgetSettings();
    StoreSetting(setting, first);
    EXPECT_EQ(Get(setting), first) << name;
    StoreSetting(setting, 17);
    EXPECT_EQ(Get(setting), held ? first : 17) << name;
  }
}

TEST_F(SettingsTest, AnAbsentCachedValueHoldsItsDefault) {
  EXPECT_EQ(Get(kSystemMessagesLimit), 60U);
  EXPECT_EQ(Get(kXmlVersion), "");
  StoreSetting(kSystemMessagesLimit, 5);
  StoreSetting(kXmlVersion, "4.0");
  EXPECT_EQ(Get(kSystemMessagesLimit), 60U);
  EXPECT_EQ(Get(kXmlVersion), "");
  ForgetSettings();
  EXPECT_EQ(Get(kSystemMessagesLimit), 5U);
  EXPECT_EQ(Get(kXmlVersion), "4.0");
}

TEST_F(SettingsTest, ThreadsThatMeetAtTheFirstUseAgree) {
  StoreSetting(kBackupIndexInterval, 11);
  const test::Threads threads(8, [](int) {
    for (int turn = 0; turn < 1000; ++turn) ASSERT_EQ(Get(kBackupIndexInterval), 11U);
  });
}

constexpr int kAbsent = -1;

TEST_F(SettingsTest, NdrGenerationGoesThroughItsRule) {
  // The connector's value, that of SMTP, the caller's flag, and the mode.
  const std::tuple<int, int, std::int32_t, std::uint32_t> cases[] = {{kAbsent, kAbsent, 0, 0},
                                                                     {kAbsent, 1, 0, 0},
                                                                     {1, 0, 0, 1},
                                                                     {7, 0, 0, 7},
                                                                     {2, kAbsent, 1, 0},
                                                                     {2, 1, 0, 1},
                                                                     {2, 2, 0, 2},
                                                                     {2, 3, 0, 1},
                                                                     {2, 3, 1, 3},
                                                                     {3, 0, 0, 1},
                                                                     {3, 0, 1, 3}};
  for (const auto& [connector, smtp, flag, mode] : cases) {
    StoreAnew({{kNoNdrGeneration, connector}, {kNoNdrGenerationSmtp, smtp}});
    EXPECT_EQ(NdrGenerationMode(flag), mode) << connector << smtp << flag;
  }
}

TEST_F(SettingsTest, RealtimeTrainingNeedsAllThree) {
  // Filtering status, training mode, realtime training, and whether it is on.
  const std::tuple<int, int, int, bool> cases[] = {
      {0, 1, 1, true},  {5, 1, 2, true},        {kAbsent, 1, 1, false}, {1, 0, 1, false},
      {1, 2, 1, false}, {1, kAbsent, 1, false}, {1, 1, 0, false},       {1, 1, kAbsent, false}};
  for (const auto& [status, mode, training, on] : cases) {
    StoreAnew({{kBayesianFilteringStatus, status},
               {kBayesianTrainingMode, mode},
               {kBayesianRealtimeTraining, training}});
    EXPECT_EQ(RealtimeTrainingEnabled(), on) << status << mode << training;
    ASSERT_TRUE(settings_.Clear());
    EXPECT_EQ(RealtimeTrainingEnabled(), on) << "held";
  }
}

}  // namespace
}  // namespace corvane::settings
