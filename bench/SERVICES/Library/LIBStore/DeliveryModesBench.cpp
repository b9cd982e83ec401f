// DeliveryModesBench.cpp -- what the store is told of a message that has entered a folder of
// 100,000, in each mode, beside the making of one small file.
//
// Mode 2 scans the folder, so its messages are there.
#include <benchmark/benchmark.h>

#include <fstream>
#include <string>

#include "SERVICES/Library/LIBMessageIndex/FolderScan.h"
#include "SERVICES/Library/LIBMessageIndex/MessageIndexFiles.h"
#include "SERVICES/Library/LIBStore/MarkFolderChanged.h"
#include "bench/support/IndexFolder.h"
#include "platform/Machine.h"

namespace corvane::bench {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kMessages = 100'000;
constexpr int kScans = 5;
constexpr int kQuick = 1'000;

// The folder root\\acme\\MAILROOT\\anna\\Inbox with all its messages in its index.
class Inbox {
 public:
  Inbox() : path_(Place().Path() + "/acme/MAILROOT/anna/Inbox") {
    fs::create_directories(path_);
    const fs::path build = fs::path(platform::ProgramPath()).parent_path().parent_path();
    for (const auto& [name, value] :
         {std::pair<const char*, std::string>{"Application Directory", build / "lib"},
          {"Configuration Directory", Place().Path()},
          {"Mail Root", Place().Path()}}) {
      Require(platform::SettingsStore::Default().SetString(
          "SOFTWARE\\Wow6432Node\\Corvane\\Corvane", name, value));
    }
    for (std::int64_t i = 1; i <= kMessages; ++i) WriteMessage(path_ + "/" + MessageName(i), i);
    SORTEDSTOREINDEXTYPE index(MessageIndexFiles());
    Require(ScanFoldersOrdered(&index, path_, false, nullptr, 0, false) == 1);
    Require(index.ItemCount() == static_cast<std::size_t>(kMessages));
  }
  std::string Deliver() {
    ++last_;
    std::string name = MessageName(last_);
    WriteMessage(path_ + "/" + name, last_);
    return name;
  }
  [[nodiscard]] const std::string& Path() const { return path_; }
  void Unmark() const {
    fs::remove(path_ + "/_CHANGE.DTY");
    Require(!fs::exists(path_ + "/_CHANGE.DTY"));
  }

 private:
  const std::string path_;
  std::int64_t last_ = kMessages;
};

Inbox& Folder() {
  static Inbox inbox;
  return inbox;
}

void Delivery(benchmark::State& state, std::uint32_t mode) {
  Inbox& inbox = Folder();
  Workplace::Set(settings::kIndexFilesEnabled, 1);
  Workplace::Set(settings::kStoreEventNotificationMode, mode);
  for (auto round : state) {
    state.PauseTiming();
    const std::string name = inbox.Deliver();
    state.ResumeTiming();
    Require(MarkFolderChanged("acme", "anna", "Inbox", kActionAdd, name, false, false) == 1);
    state.PauseTiming();
    inbox.Unmark();
    state.ResumeTiming();
  }
}

void BareFlag(benchmark::State& state) {
  Inbox& inbox = Folder();
  for (auto round : state) {
    std::ofstream(inbox.Path() + "/_CHANGE.DTY");
    state.PauseTiming();
    inbox.Unmark();
    state.ResumeTiming();
  }
}

BENCHMARK_CAPTURE(Delivery, insert, 4)->Iterations(kQuick)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Delivery, flag, 0)->Iterations(kQuick)->Unit(benchmark::kMicrosecond);
BENCHMARK(BareFlag)->Iterations(kQuick)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Delivery, reindex, 2)->Iterations(kScans)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace corvane::bench

BENCHMARK_MAIN();
