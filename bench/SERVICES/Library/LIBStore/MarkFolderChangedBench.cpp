// MarkFolderChangedBench.cpp -- what it costs, beside the message's own file, that a message has
// come into a folder of 100,000 messages, by the notification mode: 0 leaves a flag, 4 inserts the
// message into the index, 2 brings the whole index up to date. The floor is an empty file made in
// the folder and deleted again.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "SERVICES/Library/LIBStore/MarkFolderChanged.h"
#include "SERVICES/Library/LIBStore/ReindexFolder.h"
#include "bench/support/IndexFolder.h"
#include "platform/Machine.h"

namespace corvane::bench {
namespace {

constexpr std::int64_t kMessages = 100'000;
constexpr int kArrivals = 20;

void SetText(const char* name, const std::string& value) {
  Require(platform::SettingsStore::Default().SetString(settings::WholeKey(settings::kMailRoot.key),
                                                       name, value));
}

// Of the mailbox acme/anna; with its index.
const std::string& Inbox() {
  static const std::string inbox = [] {
    namespace fs = std::filesystem;
    const std::string root = Place().Path();
    const fs::path build = fs::path(platform::ProgramPath()).parent_path().parent_path();
    SetText("Application Directory", build / "lib");
    SetText("Mail Root", root);
    settings::ForgetSettings();
    settings::Hold(settings::kMailRoot, root);
    settings::Hold(settings::kIndexFilesEnabled, 1);
    std::string path = root + "/acme/MAILROOT/anna/Inbox";
    fs::create_directories(path);
    for (std::int64_t i = 1; i <= kMessages; ++i) WriteMessage(path + "/" + MessageName(i), i);
    ReindexFolder(path);
    Require(fs::exists(path + "/_index.xml"));
    return path;
  }();
  return inbox;
}

std::string NewMessage() {
  static std::int64_t next = kMessages;
  std::string name = MessageName(++next);
  WriteMessage(Inbox() + "/" + name, next);
  return name;
}

void Mark(const std::string& name) {
  Require(MarkFolderChanged("acme", "anna", "Inbox", kActionAdd, name, false, false) == 1);
}

// The first of a mode is not counted: it binds the store library and looks through the directory.
// The last scan was an hour ago, or an insertion would ask whether it has seen the message.
void Arrive(benchmark::State& state) {
  settings::Hold(settings::kStoreEventNotificationMode, static_cast<std::uint32_t>(state.range(0)));
  Mark(NewMessage());
  std::filesystem::remove(Inbox() + "/_CHANGE.DTY");
  std::filesystem::last_write_time(
      Inbox() + "/_DIRSIZE.TMP",
      std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  for (auto round : state) {
    state.PauseTiming();
    const std::string name = NewMessage();
    state.ResumeTiming();
    Mark(name);
  }
}

void ArriveBare(benchmark::State& state) {
  const std::string path = Inbox() + "/_bare";
  for (auto round : state) {
    const int file = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0600);
    Require(file >= 0);
    close(file);
    unlink(path.c_str());
  }
}

BENCHMARK(ArriveBare)->Iterations(kArrivals)->Unit(benchmark::kMicrosecond);
BENCHMARK(Arrive)->ArgName("mode")->Arg(0)->Iterations(kArrivals)->Unit(benchmark::kMicrosecond);
BENCHMARK(Arrive)->ArgName("mode")->Arg(2)->Iterations(kArrivals)->Unit(benchmark::kMicrosecond);
BENCHMARK(Arrive)->ArgName("mode")->Arg(4)->Iterations(kArrivals)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace corvane::bench

BENCHMARK_MAIN();
