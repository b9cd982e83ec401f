// ProvidersBench.cpp -- what a question to the shipped configuration providers costs, through the
// connector's bindings, beside the floor: the same row of a bare SQLite statement on one
// connection.
//
// MailboxGet is shown for a mailbox of a few messages and one of 20,000, unchanged and with a
// message delivered before each question; the bare delivery (a rename) and a plain listing of the
// folder stand beside them.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"
#include "configuration/ConfigurationStore.h"
#include "configuration/Edits.h"
#include "platform/Machine.h"
#include "platform/SettingsStore.h"

namespace corvane {
namespace {

namespace fs = std::filesystem;

void Require(bool done) {
  if (!done) std::abort();
}

// 1,000 postoffices with a mailbox "large" of 20,000 messages and a mailbox "small" of ten in the
// first of them.
class Installation {
 public:
  Installation() {
    std::string pattern = (fs::temp_directory_path() / "providers-XXXXXX").string();
    Require(mkdtemp(pattern.data()) != nullptr);
    directory_ = pattern;
    setenv("CORVANE_SETTINGS", (directory_ + "/settings.db").c_str(), 1);
    platform::SettingsStore::UsePath(directory_ + "/settings.db");
    const fs::path build = fs::path(platform::ProgramPath()).parent_path().parent_path();
    Set("Application Directory", build / "lib");
    Set("Configuration Directory", directory_);
    Set("Mail Root", directory_);
    FillStore();
    FillMailbox("large", 20'000);
    FillMailbox("small", 10);
    Require(LoadConfigurationProvider(kPostofficeProvider));
  }
  ~Installation() { fs::remove_all(directory_); }
  Installation(const Installation&) = delete;
  Installation& operator=(const Installation&) = delete;

  [[nodiscard]] std::string StorePath() const { return directory_ + "/configuration.db"; }
  [[nodiscard]] std::string Inbox(const std::string& mailbox) const {
    return directory_ + "/po0/MAILROOT/" + mailbox + "/Inbox";
  }
  // A message put in place, and the one before it removed.
  void Deliver(const std::string& mailbox) {
    const std::string inbox = Inbox(mailbox);
    fs::rename(inbox + "/" + Name(delivered_), inbox + "/" + Name(delivered_ + 1));
    ++delivered_;
  }

 private:
  static std::string Name(int number) { return number == 0 ? "0" : "n" + std::to_string(number); }
  static void Set(const char* name, const std::string& value) {
    Require(platform::SettingsStore::Default().SetString("SOFTWARE\\Wow6432Node\\Corvane\\Corvane",
                                                         name, value));
  }
  void FillStore() const {
    auto store = configuration::OpenConfiguration(StorePath(), platform::DatabaseMode::kCreate);
    Require(store.IsOpen());
    platform::Transaction transaction(store);
    for (int i = 0; i < 1000; ++i) {
      Require(configuration::AddPostoffice(store, "po" + std::to_string(i), 1) ==
              configuration::EditResult::kDone);
    }
    Require(transaction.Commit());
    for (const char* mailbox : {"large", "small"}) {
      Require(configuration::AddMailbox(store, "po0", mailbox, {}) ==
              configuration::EditResult::kDone);
    }
  }
  void FillMailbox(const std::string& mailbox, int messages) const {
    fs::create_directories(Inbox(mailbox));
    std::ofstream(Inbox(mailbox) + "/0") << "message";
    for (int i = 1; i < messages; ++i) {
      fs::create_hard_link(Inbox(mailbox) + "/0", Inbox(mailbox) + "/" + std::to_string(i));
    }
  }

  std::string directory_;
  int delivered_ = 0;
};

Installation& TheInstallation() {
  static Installation installation;
  return installation;
}

template <std::size_t kSize>
void Put(char (&field)[kSize], const char* text) {
  std::string(text).copy(field, kSize - 1);
}

void AskMailbox(const char* mailbox) {
  MailboxRecord record{};
  Put(record.Postoffice, "po0");
  Put(record.Mailbox, mailbox);
  Require(MailboxGet(record) == 1);
}

void BareStatement(benchmark::State& state) {
  auto store =
      platform::Database::Open(TheInstallation().StorePath(), platform::DatabaseMode::kReadOnly);
  for (auto _ : state) {
    auto statement = store.Prepare("SELECT name, status FROM postoffice WHERE name = ?1");
    Require(statement.Bind(1, "po500").Step());
  }
}
BENCHMARK(BareStatement);

void AskPostoffice(benchmark::State& state) {
  (void)TheInstallation();
  for (auto _ : state) {
    PostofficeRecord record{};
    Put(record.Postoffice, "po500");
    Require(PostofficeGet(record) == 1);
  }
}
BENCHMARK(AskPostoffice)->ThreadRange(1, 8)->UseRealTime();

void AskGroupThatIsNone(benchmark::State& state) {
  (void)TheInstallation();
  for (auto _ : state) {
    GroupRecord record{};
    Put(record.Postoffice, "po0");
    Put(record.GroupName, "large");
    Require(GroupGet(record) == 0);
  }
}
BENCHMARK(AskGroupThatIsNone);

void AskUnchangedMailbox(benchmark::State& state) {
  (void)TheInstallation();
  const char* mailbox = state.range(0) == 10 ? "small" : "large";
  for (auto _ : state) AskMailbox(mailbox);
}
BENCHMARK(AskUnchangedMailbox)->Arg(10)->Arg(20'000);

void DeliverAlone(benchmark::State& state) {
  for (auto _ : state) TheInstallation().Deliver("large");
}
BENCHMARK(DeliverAlone);

void DeliverAndAsk(benchmark::State& state) {
  for (auto _ : state) {
    TheInstallation().Deliver("large");
    AskMailbox("large");
  }
}
BENCHMARK(DeliverAndAsk);

void PlainListing(benchmark::State& state) {
  for (auto _ : state) {
    std::uintmax_t bytes = 0;
    for (const auto& entry : fs::directory_iterator(TheInstallation().Inbox("large"))) {
      bytes += entry.file_size();
    }
    benchmark::DoNotOptimize(bytes);
  }
}
BENCHMARK(PlainListing)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace corvane

BENCHMARK_MAIN();
