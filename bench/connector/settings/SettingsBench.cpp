// SettingsBench.cpp -- what reading a setting costs, beside the floor (a look-up in a map in
// memory) and the peer (the same question as a SQLite query), in one run.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

#include "connector/settings/Settings.h"
#include "platform/Database.h"
#include "platform/SettingsStore.h"

namespace corvane {
namespace {

using platform::SettingsStore;

// A store as a full installation has it: every declared setting is set.
class FilledStore {
 public:
  FilledStore() {
    std::string pattern = (std::filesystem::temp_directory_path() / "settings-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    directory_ = pattern;
    SettingsStore::UsePath(Path());
    std::vector<platform::SettingChange> changes;
    for (const settings::DwordSetting* setting : settings::AllNumbers()) {
      changes.push_back({.kind = platform::SettingChange::Kind::kSet,
                         .key = settings::WholeKey(setting->key),
                         .name = setting->name,
                         .value = platform::SettingValue::Dword(setting->defaultValue)});
    }
    if (!SettingsStore::Default().Apply(changes)) std::abort();
  }
  ~FilledStore() { std::filesystem::remove_all(directory_); }
  FilledStore(const FilledStore&) = delete;
  FilledStore& operator=(const FilledStore&) = delete;
  [[nodiscard]] std::string Path() const { return directory_ + "/settings.db"; }

 private:
  std::string directory_;
};

const FilledStore& Store() {
  static const FilledStore store;
  return store;
}

void ReadAtEachUse(benchmark::State& state) {
  (void)Store();
  for (auto _ : state) benchmark::DoNotOptimize(settings::Get(settings::kMaximumPickupThreads));
}
BENCHMARK(ReadAtEachUse)->ThreadRange(1, 8)->UseRealTime();

void ReadTextAtEachUse(benchmark::State& state) {
  (void)Store();
  for (auto _ : state) benchmark::DoNotOptimize(settings::Get(settings::kOverflowMailbox));
}
BENCHMARK(ReadTextAtEachUse);

void ReadCached(benchmark::State& state) {
  (void)Store();
  for (auto _ : state) benchmark::DoNotOptimize(settings::Get(settings::kQueuePrioritization));
}
BENCHMARK(ReadCached);

void ReadOfAMissingStore(benchmark::State& state) {
  SettingsStore store(Store().Path() + ".missing");
  const char* key = settings::WholeKey(settings::Key::ConnectorsSf);
  for (auto _ : state) benchmark::DoNotOptimize(store.GetDword(key, "Maximum Pickup Threads"));
}
BENCHMARK(ReadOfAMissingStore);

// The first read behind each change takes the whole store in again.
void ReadAfterAnothersChange(benchmark::State& state) {
  SettingsStore other(Store().Path());
  const char* key = settings::WholeKey(settings::Key::ConnectorsSf);
  std::uint32_t number = 0;
  for (auto _ : state) {
    state.PauseTiming();
    if (!other.NoteDword(key, "Queue Reset Time", ++number % 1000)) state.SkipWithError("write");
    state.ResumeTiming();
    benchmark::DoNotOptimize(settings::Get(settings::kMaximumPickupThreads));
  }
}
BENCHMARK(ReadAfterAnothersChange)->Iterations(2000);

void WriteCounterAndRead(benchmark::State& state) {
  (void)Store();
  std::uint32_t number = 0;
  for (auto _ : state) {
    if (!settings::Note(settings::kOutboundDeliveryCount, ++number)) state.SkipWithError("write");
    benchmark::DoNotOptimize(settings::Get(settings::kMaximumPickupThreads));
  }
}
BENCHMARK(WriteCounterAndRead)->Iterations(5000);

void WriteDurably(benchmark::State& state) {
  (void)Store();
  const char* key = settings::WholeKey(settings::Key::ConnectorsSf);
  std::uint32_t number = 0;
  for (auto _ : state) {
    if (!SettingsStore::Default().SetDword(key, "Queue Reset Time", ++number % 1000)) {
      state.SkipWithError("write");
    }
  }
}
BENCHMARK(WriteDurably)->Iterations(300);

void FloorMapLookUp(benchmark::State& state) {
  std::unordered_map<std::string, std::uint32_t> map;
  for (const settings::DwordSetting* setting : settings::AllNumbers()) {
    map[std::string(settings::WholeKey(setting->key)) + "\\" + setting->name] = 1;
  }
  std::string name =
      std::string(settings::WholeKey(settings::Key::ConnectorsSf)) + "\\Maximum Pickup Threads";
  for (auto _ : state) benchmark::DoNotOptimize(map.find(name)->second);
}
BENCHMARK(FloorMapLookUp);

void PeerDatabaseQuery(benchmark::State& state) {
  auto database = platform::Database::Open(Store().Path(), platform::DatabaseMode::kReadWrite);
  const char* key = settings::WholeKey(settings::Key::ConnectorsSf);
  for (auto _ : state) {
    auto query = database.Prepare("SELECT value FROM setting WHERE key = ?1 AND name = ?2");
    query.Bind(1, key).Bind(2, "Maximum Pickup Threads");
    if (!query.Step()) state.SkipWithError("read");
    benchmark::DoNotOptimize(query.Number(0));
  }
}
BENCHMARK(PeerDatabaseQuery);

}  // namespace
}  // namespace corvane

BENCHMARK_MAIN();
