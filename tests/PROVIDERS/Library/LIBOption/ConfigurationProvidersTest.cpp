#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "connector/settings/ProcessState.h"
#include "platform/Reports.h"
#include "tests/support/StubProviders.h"

namespace corvane {
namespace {

template <typename Record>
std::int32_t Ask(std::int32_t (*call)(Record&), Record record) {
  return call(record);
}
std::int32_t CallPostofficeGet() { return Ask<PostofficeRecord>(PostofficeGet, {"acme", 1, 0}); }
std::int32_t CallMailboxGet() {
  return Ask<MailboxRecord>(MailboxGet, {"acme", "anna", "", -1, -1, 0xFFFFFFFF, 0xFFFFFFFE});
}
std::int32_t CallGroupGet() { return Ask<GroupRecord>(GroupGet, {"", "acme", "sales", 0}); }
std::int32_t CallFindFirst() {
  return Ask<GroupMemberRecord>(GroupMemberFindFirst, {"", "acme", "sales"});
}
std::int32_t CallFindNext() {
  return Ask<GroupMemberRecord>(GroupMemberFindNext, {"", "acme", "sales"});
}
std::int32_t CallDomainGet() { return Ask<DomainRecord>(SMTPDomainGet, {"acme.test", 1, -1, 0}); }
std::int32_t CallAddressMapGet() {
  return Ask<AddressMapRecord>(AddressMapGet, {"", "", "[SF:acme/anna]", "", -1});
}

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

class ConfigurationProviders : public ::testing::Test {
 protected:
  ConfigurationProviders() { stub_.Answer(kAnswers); }
  ~ConfigurationProviders() override {
    settings::StopFlag() = 0;
    for (const char* name : {kPostofficeProvider, kSmtpProvider, kAddressMapProvider}) {
      UnloadConfigurationProvider(name);
    }
  }
  static void LoadAll() {
    for (const char* name : {kPostofficeProvider, kSmtpProvider, kAddressMapProvider}) {
      ASSERT_TRUE(LoadConfigurationProvider(name)) << name;
    }
  }
  test::StubProviders stub_;
};

TEST_F(ConfigurationProviders, EachCallReachesItsLibraryAndNoOther) {
  for (const NamedCall& call : kCalls) EXPECT_EQ(call.call(), 0) << call.name << " before loading";
  for (const char* loaded : {kPostofficeProvider, kSmtpProvider, kAddressMapProvider}) {
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
  MailboxRecord mailbox = {"acme", "anna", "", -1, -1, 0, 0};
  ASSERT_EQ(MailboxGet(mailbox), 1);
  EXPECT_EQ(std::string(mailbox.RedirectAddress), std::string(511, 'x'));
  GroupMemberRecord member = {"", "acme", "sales"};
  ASSERT_EQ(GroupMemberFindFirst(member), 1);
  EXPECT_EQ(std::string(member.MemberAddress), std::string(255, 'x'));
  AddressMapRecord map = {"", "", "[SF:acme/anna]", "", -1};
  ASSERT_EQ(AddressMapGet(map), 1);
  EXPECT_EQ(std::string(map.SourceAddress), std::string(1023, 'x'));
}

TEST_F(ConfigurationProviders, MembersThatCannotBeReachedAreNoEnd) {
  stub_.Answer("GroupMember acme/sales 1\nGroupMember acme/sales -1000\n");
  LoadAll();
  EXPECT_EQ(CallFindFirst(), 1);
  EXPECT_THROW(CallFindNext(), StoreUnreachable);
}

std::string reported;
void Listen(void*, std::string_view, platform::EventType, std::uint32_t, std::string_view,
            std::string_view text) {
  reported += text;
}

TEST_F(ConfigurationProviders, AnExceptionOfPostofficeGetIsReportedAndThrownOn) {
  stub_.Answer("PostofficeGet acme throw\n");
  LoadAll();
  reported.clear();
  platform::SetEventListener(Listen, nullptr);
  EXPECT_THROW(CallPostofficeGet(), std::runtime_error);
  platform::SetEventListener(nullptr, nullptr);
  EXPECT_TRUE(
      reported.starts_with("PostofficeGet handled an exception; session will be dropped.\n"
                           "The exception was: the stub was told to\n"
                           "The exception occurred in : ConfigurationProviders, line "))
      << reported;
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
  std::vector<std::thread> callers;
  for (int t = 0; t < 6; ++t) {
    callers.emplace_back([&] {
      while (!stop) answered += CallMailboxGet() + CallPostofficeGet();
    });
  }
  for (int i = 0; i < 300; ++i) {
    UnloadConfigurationProvider(kPostofficeProvider);
    ASSERT_TRUE(LoadConfigurationProvider(kPostofficeProvider));
    std::this_thread::yield();
  }
  const int before = answered;
  while (answered == before) std::this_thread::yield();
  stop = true;
  for (std::thread& caller : callers) caller.join();
  UnloadConfigurationProvider(kPostofficeProvider);
  EXPECT_EQ(CallMailboxGet(), 0);
}

}  // namespace
}  // namespace corvane
