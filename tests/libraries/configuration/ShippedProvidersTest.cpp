// The shipped configuration providers, asked through the connector's bindings while the store is
// changed beside them.
#include <sqlite3.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "configuration/ConfigurationStore.h"
#include "configuration/Edits.h"
#include "platform/SettingsStore.h"
#include "tests/support/AsNobody.h"
#include "tests/support/BuildPlaces.h"
#include "tests/support/StoredSettings.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Threads.h"

namespace corvane::configuration {
namespace {

namespace fs = std::filesystem;
using test::StoreSetting;

template <std::size_t kSize>
void Put(char (&field)[kSize], const std::string& text) {
  std::memset(field, 0, kSize);
  text.copy(field, kSize);  // a text of the full width has no NUL
}

MailboxRecord AskMailbox(const std::string& postoffice, const std::string& mailbox,
                         std::int32_t* result = nullptr) {
  MailboxRecord record{};
  Put(record.Postoffice, postoffice);
  Put(record.Mailbox, mailbox);
  record.RedirectStatus = record.Status = -1;
  record.Limit = 0xFFFFFFFF;
  record.Size = 0xFFFFFFFE;
  const std::int32_t answer = MailboxGet(record);
  if (result != nullptr) *result = answer;
  return record;
}

std::int32_t AskPostoffice(const std::string& name, std::int32_t* status = nullptr) {
  PostofficeRecord record{};
  Put(record.Postoffice, name);
  record.Status = 1;
  const std::int32_t result = PostofficeGet(record);
  if (status != nullptr) *status = record.Status;
  return result;
}

std::int32_t AskGroup(const std::string& postoffice, const std::string& group,
                      std::int32_t* status = nullptr) {
  GroupRecord record{};
  Put(record.Address, "[SF:" + postoffice + "/" + group + "]");
  Put(record.Postoffice, postoffice);
  Put(record.GroupName, group);
  record.GroupStatus = 77;
  const std::int32_t result = GroupGet(record);
  if (status != nullptr) *status = record.GroupStatus;
  return result;
}

// "" at the end.
std::string AskMember(std::int32_t (*call)(GroupMemberRecord&), const std::string& postoffice,
                      const std::string& group) {
  GroupMemberRecord record{};
  Put(record.Postoffice, postoffice);
  Put(record.GroupName, group);
  return call(record) == 1 ? record.MemberAddress : "";
}

std::vector<std::string> Members(const std::string& postoffice, const std::string& group) {
  std::vector<std::string> members;
  for (std::string member = AskMember(GroupMemberFindFirst, postoffice, group); !member.empty();
       member = AskMember(GroupMemberFindNext, postoffice, group)) {
    members.push_back(member);
  }
  return members;
}

std::int32_t AskDomain(const std::string& domain) {
  DomainRecord record{};
  Put(record.Domain, domain);
  return SMTPDomainGet(record);
}

std::string AskAddress(const std::string& item) {
  AddressMapRecord record{};
  Put(record.DestinationAddress, item);
  record.Status = -1;
  return AddressMapGet(record) == 0 ? "" : record.SourceAddress;
}

std::string AskOption(const std::string& mailbox, const char* name) {
  char text[2048];
  const bool found = GetMailboxOption("acme", mailbox.c_str(), name, text, sizeof text) == 1;
  return found ? "=" + std::string(text) : "nothing";
}

// The settings store stays the same for the whole program, since the libraries keep the one that
// they have found; each test has a configuration store and a mail root of its own.
class ShippedProviders : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    static const test::TemporaryDirectory directory;
    fs::permissions(directory.Path(), fs::perms::all);
    setenv("CORVANE_SETTINGS", (directory / "settings.db").c_str(), 1);
    platform::SettingsStore::UsePath(directory / "settings.db");
    StoreSetting("Application Directory", test::ShippedLibraries());
    for (const char* name : {kPostofficeProvider, kSmtpProvider, kAddressMapProvider}) {
      ASSERT_TRUE(LoadConfigurationProvider(name)) << name;
    }
  }
  ShippedProviders() {
    StoreSetting("Mail Root", directory_ / "mail");
    StoreSetting("Configuration Directory", directory_.Path());
    StoreSetting("Allow Custom Postoffice Paths", 0);
    StoreWait(0);
  }

  static void StoreWait(std::uint32_t milliseconds) {
    StoreSetting("Configuration Store Wait", milliseconds, "Providers");
  }

  [[nodiscard]] std::string StorePath() const { return directory_ / "configuration.db"; }
  [[nodiscard]] platform::Database Store() const {
    std::string why;
    auto store =
        configuration::OpenConfiguration(StorePath(), platform::DatabaseMode::kCreate, &why);
    EXPECT_TRUE(store) << why;
    return store;
  }
  void FillStore() const {
    auto store = Store();
    ASSERT_EQ(AddPostoffice(store, "acme", 1), EditResult::kDone);
    ASSERT_EQ(AddMailbox(store, "acme", "anna", {}), EditResult::kDone);
    ASSERT_EQ(AddDomain(store, "acme.test"), EditResult::kDone);
  }

  test::TemporaryDirectory directory_;
};

TEST_F(ShippedProviders, AnswerWhatTheStoreHolds) {
  auto store = Store();
  ASSERT_EQ(AddPostoffice(store, "acme", 1), EditResult::kDone);
  ASSERT_EQ(AddPostoffice(store, "closed", 0), EditResult::kDone);
  configuration::MailboxChange values;
  values.quota = 500;
  values.redirect = "[SF:acme/bob];[SMTP:x@y.test]";
  values.redirectStatus = 2;
  ASSERT_EQ(AddMailbox(store, "acme", "anna", values), EditResult::kDone);
  ASSERT_EQ(AddMailbox(store, "acme", "bob", {.status = 0}), EditResult::kDone);
  ASSERT_EQ(AddGroup(store, "acme", "sales", 1), EditResult::kDone);
  ASSERT_EQ(AddGroup(store, "acme", "old", 0), EditResult::kDone);
  ASSERT_EQ(AddDomain(store, "acme.test"), EditResult::kDone);
  ASSERT_EQ(AddMap(store, "[SMTP:anna@acme.test]", "[SF:acme/anna]"), EditResult::kDone);
  ASSERT_EQ(AddMap(store, "[SMTP:a.second@acme.test]", "[SF:acme/anna]"), EditResult::kDone);
  ASSERT_EQ(SetOption(store, 2, "acme/anna", "TimeZone", "GMT"), EditResult::kDone);
  ASSERT_EQ(SetOption(store, 1, "acme", "PostofficeRoot", "/elsewhere"), EditResult::kDone);

  std::int32_t status = 0;
  EXPECT_EQ(AskPostoffice("ACME", &status), 1);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(AskPostoffice("closed", &status), 1);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(AskPostoffice("nobody"), 0);

  std::int32_t result = 0;
  MailboxRecord anna = AskMailbox("Acme", "ANNA", &result);
  EXPECT_EQ(result, 1);
  EXPECT_STREQ(anna.RedirectAddress, "[SF:acme/bob];[SMTP:x@y.test]");
  EXPECT_EQ(anna.RedirectStatus, 2);
  EXPECT_EQ(anna.Status, 1);
  EXPECT_EQ(anna.Limit, 500u);
  EXPECT_EQ(anna.Size, 0u);
  MailboxRecord bob = AskMailbox("acme", "bob", &result);
  EXPECT_EQ(bob.Status, 0);
  EXPECT_EQ(bob.Limit, 0xFFFFFFFFu);
  EXPECT_EQ(bob.RedirectStatus, 0);
  AskMailbox("acme", "nobody", &result);
  EXPECT_EQ(result, 0);

  EXPECT_EQ(AskGroup("acme", "Sales", &status), 1);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(AskGroup("acme", "old", &status), 1);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(AskGroup("acme", "anna"), 0);
  EXPECT_EQ(AskDomain("ACME.TEST"), 1);
  EXPECT_EQ(AskDomain("other.test"), 0);
  EXPECT_EQ(AskAddress("[sf:ACME/Anna]"), "[SMTP:anna@acme.test]") << "the first one given";
  EXPECT_EQ(AskAddress("[SF:acme/bob]"), "");
  EXPECT_EQ(AskOption("anna", "timezone"), "=GMT");
  EXPECT_EQ(AskOption("anna", "DisplayName"), "nothing");
  char root[100];
  EXPECT_EQ(GetPostofficeOption("acme", "PostofficeRoot", root, sizeof root), 1);
  EXPECT_STREQ(root, "/elsewhere");
}

TEST_F(ShippedProviders, MembersComeInTheOrderOfTheirAddingAndWalksMayNest) {
  auto store = Store();
  ASSERT_EQ(AddPostoffice(store, "acme", 1), EditResult::kDone);
  for (const char* group : {"outer", "inner", "empty"}) {
    ASSERT_EQ(AddGroup(store, "acme", group, 1), EditResult::kDone);
  }
  for (const char* mailbox : {"zoe", "anna", "i1", "i2"}) {
    ASSERT_EQ(AddMailbox(store, "acme", mailbox, {}), EditResult::kDone);
  }
  EXPECT_EQ(AddMember(store, "acme", "outer", "[sf:acme/nobody]"), EditResult::kNoTarget);
  for (const char* item : {"[SF:acme/zoe]", "[SF:acme/anna]", "[SMTP:m@x.test]"}) {
    ASSERT_EQ(AddMember(store, "acme", "outer", item), EditResult::kDone);
  }
  ASSERT_EQ(AddMember(store, "acme", "inner", "[SF:acme/i1]"), EditResult::kDone);
  ASSERT_EQ(AddMember(store, "acme", "inner", "[SF:acme/i2]"), EditResult::kDone);
  ASSERT_EQ(RemoveMember(store, "acme", "outer", "[SF:acme/anna]"), EditResult::kDone);
  ASSERT_EQ(AddMember(store, "acme", "outer", "[SF:acme/anna]"), EditResult::kDone);

  EXPECT_EQ(Members("acme", "empty"), std::vector<std::string>{});
  EXPECT_EQ(Members("acme", "nothing"), std::vector<std::string>{});
  EXPECT_EQ(AskMember(GroupMemberFindNext, "acme", "outer"), "") << "never begun";
  EXPECT_EQ(AskMember(GroupMemberFindFirst, "acme", "outer"), "[SF:acme/zoe]");
  EXPECT_EQ(Members("ACME", "Inner"), (std::vector<std::string>{"[SF:acme/i1]", "[SF:acme/i2]"}));
  EXPECT_EQ(AskMember(GroupMemberFindNext, "acme", "outer"), "[SMTP:m@x.test]");
  std::thread([] { EXPECT_EQ(AskMember(GroupMemberFindNext, "acme", "outer"), ""); }).join();
  EXPECT_EQ(AskMember(GroupMemberFindNext, "acme", "outer"), "[SF:acme/anna]");
  EXPECT_EQ(AskMember(GroupMemberFindNext, "acme", "outer"), "");
  EXPECT_EQ(AskMember(GroupMemberFindNext, "acme", "outer"), "") << "ended";
  EXPECT_EQ(Members("acme", "outer").size(), 3u) << "and begun anew";
}

// Texts as wide as their fields, without a NUL, with quotes and bytes of no alphabet.
TEST_F(ShippedProviders, OddNamesAreNamesLikeOthers) {
  auto store = Store();
  const std::string names[] = {"o'brien",           "say \"hi\"", "100%_x",
                               "\xC3\xA4\xFF\xFE!", "--; DROP x", std::string(128, 'p')};
  for (const std::string& name : names) {
    ASSERT_EQ(AddPostoffice(store, name, 1), EditResult::kDone);
    const std::string mailbox = name.substr(0, 64);
    ASSERT_EQ(AddMailbox(store, name, mailbox, {.quota = 9}), EditResult::kDone);
    EXPECT_EQ(AskPostoffice(name), 1) << name;
    std::int32_t result = 0;
    EXPECT_EQ(AskMailbox(name, mailbox, &result).Limit, 9u) << name;
    EXPECT_EQ(result, 1);
    EXPECT_EQ(AskPostoffice(name + "x"), name.size() < 128 ? 0 : 1);
  }
  EXPECT_EQ(AskPostoffice(""), 0);
  EXPECT_EQ(AskDomain(std::string(512, 'd')), 0);
}

TEST_F(ShippedProviders, OptionTextsAreCutToTheCallersBuffer) {
  FillStore();
  auto store = Store();
  ASSERT_EQ(SetOption(store, 2, "acme/anna", "DisplayName", "0123456789"), EditResult::kDone);
  ASSERT_EQ(SetOption(store, 2, "acme/anna", "Empty", ""), EditResult::kDone);
  char text[5];
  EXPECT_EQ(GetMailboxOption("acme", "anna", "DisplayName", text, sizeof text), 1);
  EXPECT_STREQ(text, "0123");
  EXPECT_EQ(AskOption("anna", "Empty"), "=") << "an empty value is a value";
}

TEST_F(ShippedProviders, TheSizeOfAMailboxIsWhatLiesOnDisk) {
  FillStore();
  const std::string inbox = directory_ / "mail/acme/MAILROOT/anna/Inbox";
  EXPECT_EQ(AskMailbox("acme", "anna").Size, 0u);
  fs::create_directories(inbox);
  test::WriteBytes(inbox + "/1.MAI", "x");
  EXPECT_EQ(AskMailbox("acme", "anna").Size, 1u) << "rounded up";
  test::WriteBytes(inbox + "/2.MAI", std::string(2047, 'x'));
  EXPECT_EQ(AskMailbox("acme", "anna").Size, 2u) << "rounded once, not for each file";
  test::WriteBytes(inbox + "/_index.xml", std::string(9000, 'x'));
  EXPECT_EQ(AskMailbox("ACME", "ANNA").Size, 2u) << "flag and index files don't count";
  fs::remove(inbox + "/2.MAI");
  EXPECT_EQ(AskMailbox("acme", "anna").Size, 1u);
}

TEST_F(ShippedProviders, APostofficeMayLieElsewhereWhereTheSettingsAllowIt) {
  FillStore();
  const std::string inbox = directory_ / "elsewhere/MAILROOT/anna/Inbox";
  fs::create_directories(inbox);
  test::WriteBytes(inbox + "/1.MAI", std::string(5000, 'x'));
  auto store = Store();
  ASSERT_EQ(SetOption(store, 1, "acme", "PostofficeRoot", directory_ / "elsewhere"),
            EditResult::kDone);
  EXPECT_EQ(AskMailbox("acme", "anna").Size, 0u);
  StoreSetting("Allow Custom Postoffice Paths", 1);
  EXPECT_EQ(AskMailbox("acme", "anna").Size, 5u);
}

// What each call answers when there is no store to ask: GroupGet -1, which keeps mail in the queue;
// PostofficeGet a number that means neither disabled nor unknown, since both would lose mail;
// MailboxGet -1 with a status of its own.
void ExpectUnreachable(const char* why) {
  std::int32_t result = 7;
  EXPECT_EQ(AskPostoffice("acme"), -2) << why;
  EXPECT_EQ(AskGroup("acme", "anna"), -1) << why;
  EXPECT_EQ(AskMailbox("acme", "anna", &result).Status, kProviderUnreachable) << why;
  EXPECT_EQ(result, -1) << why;
  EXPECT_THROW(Members("acme", "sales"), StoreUnreachable) << why;
  EXPECT_EQ(AskDomain("acme.test"), 0) << why;
  EXPECT_EQ(AskAddress("[SF:acme/anna]"), "") << why;
  EXPECT_THROW(AskOption("anna", "TimeZone"), StoreUnreachable) << why;
}

TEST_F(ShippedProviders, AStoreThatCantBeReachedIsToldApartWhereThatIsKnown) {
  ExpectUnreachable("missing");
  FillStore();
  EXPECT_EQ(AskPostoffice("acme"), 1) << "appeared";
  const std::string sound = test::ReadBytes(StorePath());
  std::string damaged = sound;
  std::fill(damaged.begin() + 100, damaged.end(), '\x5A');
  {
    auto other = platform::Database::Open(directory_ / "other", platform::DatabaseMode::kCreate);
    ASSERT_TRUE(other.Execute("CREATE TABLE postoffice (name, status)"));
    ASSERT_TRUE(other.Execute("INSERT INTO postoffice VALUES ('acme', 1)"));
  }
  const auto put = [&](const std::string& bytes) {
    test::WriteBytes(directory_ / "new", bytes);
    fs::rename(directory_ / "new", StorePath());
  };
  const std::pair<const char*, std::string> unusable[] = {
      {"empty", ""},
      {"no database", std::string(20'000, 'x')},
      {"damaged", damaged},
      {"another program's", test::ReadBytes(directory_ / "other")},
  };
  for (const auto& [why, bytes] : unusable) {
    put(bytes);
    ExpectUnreachable(why);
    put(sound);
    EXPECT_EQ(AskPostoffice("acme"), 1) << "restored";
  }
  fs::rename(StorePath(), directory_ / "away");
  ExpectUnreachable("taken away");
  fs::rename(directory_ / "away", StorePath());
  EXPECT_EQ(AskPostoffice("acme"), 1) << "came back";
  StoreSetting("Configuration Directory", "");
  ExpectUnreachable("not configured");
}

// A 0 would make a domain that is served here a stranger's.
TEST_F(ShippedProviders, ACallThatCanOnlySayNotThereWaitsForTheStore) {
  FillStore();
  fs::rename(StorePath(), directory_ / "away");
  StoreWait(600'000);
  std::thread restore([&] {
    while (AskGroup("acme", "anna") != -1) std::this_thread::yield();
    fs::rename(directory_ / "away", StorePath());
  });
  EXPECT_EQ(AskDomain("acme.test"), 1);
  restore.join();
}

TEST_F(ShippedProviders, ALockedStoreIsUnreachableWhileItIsLocked) {
  FillStore();
  sqlite3* holder = nullptr;
  ASSERT_EQ(sqlite3_open(StorePath().c_str(), &holder), SQLITE_OK);
  sqlite3_exec(holder, "PRAGMA locking_mode=EXCLUSIVE; BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
  EXPECT_EQ(AskGroup("acme", "anna"), -1);
  sqlite3_exec(holder, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(holder);
  EXPECT_EQ(AskPostoffice("acme"), 1);
}

TEST_F(ShippedProviders, AStoreThatMayOnlyBeReadIsRead) {
  FillStore();
  ASSERT_EQ(AskPostoffice("acme"), 1);
  fs::permissions(StorePath(), fs::perms{0444});
  fs::permissions(directory_.Path(), fs::perms{0555});
  {
    const test::AsNobody nobody;
    EXPECT_EQ(AskPostoffice("acme"), 1);
    EXPECT_EQ(AskPostoffice("nobody"), 0);
  }
  fs::permissions(directory_.Path(), fs::perms::owner_all);
}

TEST_F(ShippedProviders, EightThreadsReadWhileAnotherProcessWrites) {
  FillStore();
  std::atomic<bool> stop{false};
  std::atomic<int> reads{0};
  test::Threads readers(8, [&](int) {
    std::uint32_t last = 0;
    while (!stop) {
      std::int32_t result = 0;
      const MailboxRecord record = AskMailbox("acme", "anna", &result);
      const std::uint32_t quota = record.Limit == 0xFFFFFFFF ? 0 : record.Limit;
      ASSERT_EQ(result, 1);
      ASSERT_EQ(AskPostoffice("acme"), 1);
      ASSERT_GE(quota, last);
      last = quota;
      ++reads;
    }
  });
  constexpr int kChanges = 25;
  for (int i = 1; i <= kChanges; ++i) {
    const auto change = test::RunProgram(
        {test::ProgramFile("cvctl"), "mailbox", "set", "acme/anna", "--quota", std::to_string(i)});
    ASSERT_EQ(change.exitCode, 0) << change.errors;
    EXPECT_EQ(AskMailbox("acme", "anna").Limit, static_cast<std::uint32_t>(i))
        << "a change is seen by the next call";
  }
  stop = true;
  readers.Join();
  EXPECT_GT(reads, 100);
}

}  // namespace
}  // namespace corvane::configuration
