#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
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

template <std::size_t kSize>
void Put(char (&field)[kSize], const char* text) {
  std::strncpy(field, text, kSize - 1);
}

MailboxRecord Mailbox(const char* postoffice, const char* mailbox) {
  MailboxRecord record{};
  Put(record.Postoffice, postoffice);
  Put(record.Mailbox, mailbox);
  record.RedirectStatus = record.Status = -1;
  record.Limit = 0xFFFFFFFF;
  record.Size = 0xFFFFFFFE;
  return record;
}

PostofficeRecord Postoffice(const char* name) {
  PostofficeRecord record{};
  Put(record.Postoffice, name);
  record.Status = 1;
  return record;
}

// Each call, on a record that names acme and a part of it.
struct NamedCall {
  const char* library;
  const char* name;
  std::int32_t (*call)();
};

std::int32_t CallPostofficeGet() {
  PostofficeRecord record = Postoffice("acme");
  return PostofficeGet(record);
}
std::int32_t CallMailboxGet() {
  MailboxRecord record = Mailbox("acme", "anna");
  return MailboxGet(record);
}
std::int32_t CallGroupGet() {
  GroupRecord record{};
  Put(record.Postoffice, "acme");
  Put(record.GroupName, "sales");
  return GroupGet(record);
}
std::int32_t CallFindFirst() {
  GroupMemberRecord record{};
  Put(record.Postoffice, "acme");
  Put(record.GroupName, "sales");
  return GroupMemberFindFirst(record);
}
std::int32_t CallFindNext() {
  GroupMemberRecord record{};
  Put(record.Postoffice, "acme");
  Put(record.GroupName, "sales");
  return GroupMemberFindNext(record);
}
std::int32_t CallDomainGet() {
  DomainRecord record{};
  Put(record.Domain, "acme.test");
  return SMTPDomainGet(record);
}
std::int32_t CallAddressMapGet() {
  AddressMapRecord record{};
  Put(record.DestinationAddress, "[SF:acme/anna]");
  return AddressMapGet(record);
}

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

TEST_F(ConfigurationProviders, RecordsComeBackAsTheLibraryFilledThem) {
  stub_.Answer(
      "PostofficeGet acme 1 Status=0\nPostofficeGet gone -1\n"
      "MailboxGet acme/anna 7 RedirectAddress=[SF:a/b];[SF:a/c] RedirectStatus=2 Status=1 "
      "Limit=4294967295 Size=12\n"
      "AddressMapGet [SF:acme/anna] 1 SourceAddress=[SMTP:anna@acme.test] Status=1\n");
  LoadAll();
  PostofficeRecord postoffice = Postoffice("acme");
  EXPECT_EQ(PostofficeGet(postoffice), 1);
  EXPECT_EQ(postoffice.Status, 0);
  postoffice = Postoffice("gone");
  EXPECT_EQ(PostofficeGet(postoffice), -1);
  EXPECT_EQ(postoffice.Status, 1) << "left as the caller set it";
  MailboxRecord mailbox = Mailbox("acme", "anna");
  EXPECT_EQ(MailboxGet(mailbox), 7);
  EXPECT_STREQ(mailbox.RedirectAddress, "[SF:a/b];[SF:a/c]");
  EXPECT_EQ(mailbox.RedirectStatus, 2);
  EXPECT_EQ(mailbox.Status, 1);
  EXPECT_EQ(mailbox.Limit, 0xFFFFFFFFu);
  EXPECT_EQ(mailbox.Size, 12u);
  AddressMapRecord map{};
  Put(map.DestinationAddress, "[SF:acme/anna]");
  EXPECT_EQ(AddressMapGet(map), 1);
  EXPECT_STREQ(map.SourceAddress, "[SMTP:anna@acme.test]");
}

TEST_F(ConfigurationProviders, TextsWithoutAnEndAreEnded) {
  stub_.Answer(
      "MailboxGet acme/anna 1 RedirectAddress=<full>\n"
      "GroupMember acme/sales 1 MemberAddress=<full>\n"
      "AddressMapGet [SF:acme/anna] 1 SourceAddress=<full>\n");
  LoadAll();
  MailboxRecord mailbox = Mailbox("acme", "anna");
  ASSERT_EQ(MailboxGet(mailbox), 1);
  EXPECT_EQ(std::string(mailbox.RedirectAddress), std::string(511, 'x'));
  GroupMemberRecord member{};
  Put(member.Postoffice, "acme");
  Put(member.GroupName, "sales");
  ASSERT_EQ(GroupMemberFindFirst(member), 1);
  EXPECT_EQ(std::string(member.MemberAddress), std::string(255, 'x'));
  AddressMapRecord map{};
  Put(map.DestinationAddress, "[SF:acme/anna]");
  ASSERT_EQ(AddressMapGet(map), 1);
  EXPECT_EQ(std::string(map.SourceAddress), std::string(1023, 'x'));
}

TEST_F(ConfigurationProviders, MembersComeInOrderUntilTheyEnd) {
  LoadAll();
  GroupMemberRecord record{};
  std::vector<std::string> members;
  const auto ask = [&](auto call) {
    record = {};
    Put(record.Postoffice, "acme");
    Put(record.GroupName, "sales");
    return call(record);
  };
  for (std::int32_t found = ask(GroupMemberFindFirst); found == 1;
       found = ask(GroupMemberFindNext)) {
    members.emplace_back(record.MemberAddress);
  }
  EXPECT_EQ(members, (std::vector<std::string>{"[SF:acme/anna]", "[SF:acme/bob]"}));
  stub_.Answer("GroupMember acme/sales 1\nGroupMember acme/sales -1000\n");
  EXPECT_EQ(ask(GroupMemberFindFirst), 1);
  EXPECT_THROW(ask(GroupMemberFindNext), StoreUnreachable) << "the rest is not known";
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
