
#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "connector/settings/ProcessState.h"
#include "tests/support/HeardEvents.h"
#include "tests/support/StubProviders.h"
#include "tests/support/Threads.h"

namespace corvane {
namespace {

template <typename Record>
std::int32_t Ask(std::int32_t (*call)(Record&), Record record) {
  return call(record);
}
const GroupMemberRecord kSales = {"", "acme", "sales"};
const MailboxRecord kAnna = {"acme", "anna", "", -1, -1, 0xFFFFFFFF, 0xFFFFFFFE};
const AddressMapRecord kAnnasMap = {"", "", "[SF:acme/anna]", "", -1};
std::int32_t CallPostofficeGet() { return Ask(PostofficeGet, PostofficeRecord{"acme", 1, 0}); }
std::int32_t CallMailboxGet() { return Ask(MailboxGet, kAnna); }
std::int32_t CallGroupGet() { return Ask(GroupGet, GroupRecord{"", "acme", "sales", 0}); }
std::int32_t CallFindFirst() { return Ask(GroupMemberFindFirst, kSales); }
std::int32_t CallFindNext() { return Ask(GroupMemberFindNext, kSales); }
std::int32_t CallDomainGet() { return Ask(SMTPDomainGet, DomainRecord{"acme.test", 1, -1, 0}); }
std::int32_t CallAddressMapGet() { return Ask(AddressMapGet, kAnnasMap); }

// Each call, on a record that names acme and a part of it.
struct NamedCall {
  const char* library;
  const char* name;
  std::int32_t (*call)();
};
const NamedCall kCalls[] = {
    {kPostofficeProvider, "PostofficeGet", CallPostofficeGet},
    {kPostofficeProvider, "MailboxGet", CallMailboxGet},
    {kPostofficeProvider, "GroupGet", CallGroupGet},
    {kPostofficeProvider, "GroupMemberFindFirst", CallFindFirst},
    {kPostofficeProvider, "GroupMemberFindNext", CallFindNext},
    {kSmtpProvider, "SMTPDomainGet", CallDomainGet},
    {kAddressMapProvider, "AddressMapGet", CallAddressMapGet},
};

constexpr const char* kAnswers =
    "PostofficeGet acme 1\nMailboxGet acme/anna 1\nGroupGet acme/sales 1\n"
    "GroupMember acme/sales 1 MemberAddress=[SF:acme/anna]\n"
    "GroupMember acme/sales 1 MemberAddress=[SF:acme/bob]\n"
    "SMTPDomainGet acme.test 1\nAddressMapGet [SF:acme/anna] 1\n";

constexpr const char* kProviders[] = {kPostofficeProvider, kSmtpProvider, kAddressMapProvider};

class ConfigurationProviders : public ::testing::Test {
 protected:
  ConfigurationProviders() { stub_.Answer(kAnswers); }
  ~ConfigurationProviders() override {
    settings::StopFlag() = 0;
    for (const char* name : kProviders) UnloadConfigurationProvider(name);
  }
  static void LoadAll() {
    for (const char* name : kProviders) ASSERT_TRUE(LoadConfigurationProvider(name)) << name;
  }
  test::StubProviders stub_;
};

TEST_F(ConfigurationProviders, EachCallReachesItsLibraryAndNoOther) {
  for (const NamedCall& call : kCalls) EXPECT_EQ(call.call(), 0) << call.name << " before loading";
  for (const char* loaded : kProviders) {
    ASSERT_TRUE(LoadConfigurationProvider(loaded));
    for (const NamedCall& call : kCalls) {
      const bool expected = std::string(call.library) == loaded;
      EXPECT_EQ(call.call(), expected ? 1 : 0) << call.name << " with " << loaded;
    }
    UnloadConfigurationProvider(loaded);
  }
}

TEST_F(ConfigurationProviders, AMissingExportGivesZero) {
  stub_.Use(test::StubLibraries("bare"));
  LoadAll();
  for (const NamedCall& call : kCalls) EXPECT_EQ(call.call(), 0) << call.name;
}

TEST_F(ConfigurationProviders, AMissingLibraryOrDirectoryDoesNotLoad) {
  for (const char* directory : {"", "/nowhere", "relative"}) {
    stub_.Use(directory);
    EXPECT_FALSE(LoadConfigurationProvider(kPostofficeProvider)) << directory;
  }
  EXPECT_FALSE(LoadConfigurationProvider("CVAISO.DLL")) << "not one of the three";
}

TEST_F(ConfigurationProviders, TextsWithoutAnEndAreEnded) {
  stub_.Answer(
      "MailboxGet acme/anna 1 RedirectAddress=<full>\n"
      "GroupMember acme/sales 1 MemberAddress=<full>\n"
      "AddressMapGet [SF:acme/anna] 1 SourceAddress=<full>\n");
  LoadAll();
  MailboxRecord mailbox = kAnna;
  ASSERT_EQ(MailboxGet(mailbox), 1);
  EXPECT_EQ(std::string(mailbox.RedirectAddress), std::string(511, 'x'));
  GroupMemberRecord member = kSales;
  ASSERT_EQ(GroupMemberFindFirst(member), 1);
  EXPECT_EQ(std::string(member.MemberAddress), std::string(255, 'x'));
  AddressMapRecord map = kAnnasMap;
  ASSERT_EQ(AddressMapGet(map), 1);
  EXPECT_EQ(std::string(map.SourceAddress), std::string(1023, 'x'));
}

TEST_F(ConfigurationProviders, MembersThatCannotBeReachedAreNoEnd) {
  stub_.Answer("GroupMember acme/sales 1\nGroupMember acme/sales -1000\n");
  LoadAll();
  EXPECT_EQ(CallFindFirst(), 1);
  EXPECT_THROW(CallFindNext(), StoreUnreachable);
}

TEST_F(ConfigurationProviders, AnExceptionOfPostofficeGetIsReportedAndThrownOn) {
  stub_.Answer("PostofficeGet acme throw\n");
  LoadAll();
  const test::HeardEvents heard;
  EXPECT_THROW(CallPostofficeGet(), std::runtime_error);
  ASSERT_EQ(heard.all.size(), 1U);
  EXPECT_TRUE(
      heard.all[0].text.starts_with("PostofficeGet handled an exception; session will be dropped.\n"
                                    "The exception was: the stub was told to\n"
                                    "The exception occurred in : ConfigurationProviders, line "));
}

// On a 0 a worker would bounce what it has in hand.
TEST_F(ConfigurationProviders, AfterTheUnloadingAtStopCallsThrow) {
  LoadAll();
  settings::StopFlag() = 1;
  EXPECT_EQ(CallGroupGet(), 1) << "stopping, but still loaded";
  UnloadConfigurationProvider(kPostofficeProvider);
  EXPECT_THROW(CallGroupGet(), ProviderUnloaded);
  EXPECT_THROW(CallMailboxGet(), ProviderUnloaded);
  EXPECT_THROW(static_cast<void>(IsProviderLoaded(kPostofficeProvider)), ProviderUnloaded);
  EXPECT_EQ(CallAddressMapGet(), 1) << "another library";
  ASSERT_TRUE(LoadConfigurationProvider(kPostofficeProvider));
  EXPECT_EQ(CallGroupGet(), 1);
  settings::StopFlag() = 0;
  UnloadConfigurationProvider(kPostofficeProvider);
  EXPECT_EQ(CallGroupGet(), 0) << "unloaded, but not stopping";
}

// The stop routine unloads libraries while workers are inside them.
TEST_F(ConfigurationProviders, UnloadingUnderCallersIsSafe) {
  LoadAll();
  std::atomic<bool> stop{false};
  std::atomic<int> answered{0};
  test::Threads callers(6, [&](int) {
    while (!stop) answered += CallMailboxGet() + CallPostofficeGet();
  });
  for (int i = 0; i < 300; ++i) {
    UnloadConfigurationProvider(kPostofficeProvider);
    ASSERT_TRUE(LoadConfigurationProvider(kPostofficeProvider));
    std::this_thread::yield();
  }
  const int before = answered;
  while (answered == before) std::this_thread::yield();
  stop = true;
  callers.Join();
  UnloadConfigurationProvider(kPostofficeProvider);
  EXPECT_EQ(CallMailboxGet(), 0);
}

}  // namespace
}  // namespace corvane
