// IndexLoadBench.cpp -- loads of an index file, to its keys and whole, beside pugixml reading the
// same file, with what the process grows by at its peak; and the memory of an index of a million
// items over the text that it holds.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstring>
#include <fstream>
#include <map>
#include <pugixml.hpp>
#include <string>

#include "SERVICES/Library/LIBStoreIndexCore/StoreIndex.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/FolderIndexFiles.h"
#include "bench/support/IndexFolder.h"

namespace corvane::bench {
namespace {

constexpr std::int64_t kMillion = 1'000'000;
constexpr double kKilobyte = 1'024;

const std::string& Folder(std::int64_t items) {
  static std::map<std::int64_t, std::string> folders;
  const auto [entry, isNew] = folders.try_emplace(items);
  if (isNew) entry->second = MakeIndexedFolder("load" + std::to_string(items), items);
  return entry->second;
}

std::string IndexFile(std::int64_t items) { return Folder(items) + "/_index.xml"; }

// A line of the process's status such as "VmHWM:", in bytes.
double StatusBytes(const char* name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(name, 0) == 0) return std::stod(line.substr(std::strlen(name))) * kKilobyte;
  }
  return 0;
}

// The most that the process grew by since this was made.
class PeakGrowth {
 public:
  PeakGrowth() {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
    before_ = StatusBytes("VmRSS:");
  }
  [[nodiscard]] double Bytes() const { return StatusBytes("VmHWM:") - before_; }

 private:
  double before_;
};

void LoadIndex(StoreIndex* store, std::int64_t items, std::int32_t level) {
  IndexLoad load;
  load.store = store;
  load.path = Folder(items);
  load.level = level;
  load.useChangeFlag = false;
  Require(store->Index.Load(load));
  Require(store->Index.ItemCount() == static_cast<std::size_t>(items));
}

void Count(benchmark::State& state, double peak) {
  const auto bytes =
      static_cast<std::int64_t>(std::filesystem::file_size(IndexFile(state.range(0))));
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * bytes);
  state.counters["peakMB"] = peak / 1e6;
}

FolderIndexFiles& Files() {
  static FolderIndexFiles files{FolderScans{}};
  return files;
}

// Making and destroying what was read is part of it, here and with the peer.
void Load(benchmark::State& state, std::int32_t level) {
  Folder(state.range(0));
  const PeakGrowth peak;
  for (auto round : state) {
    StoreIndex store(&Files());
    LoadIndex(&store, state.range(0), level);
  }
  Count(state, peak.Bytes());
}

void LoadPugixml(benchmark::State& state) {
  Folder(state.range(0));
  const PeakGrowth peak;
  for (auto round : state) {
    pugi::xml_document document;
    Require(static_cast<bool>(document.load_file(IndexFile(state.range(0)).c_str())));
  }
  Count(state, peak.Bytes());
}

double TextBytes(const SORTEDSTOREINDEXTYPE& index) {
  std::size_t bytes = 0;
  const PropertyMap names = CloneGlobalPropertyMap();
  for (const auto* item : index.Sequence) {
    for (const auto& [name, id] : names) {
      if (id.Type == kPropertyText) bytes += item->TextView(id).size();
    }
  }
  return static_cast<double>(bytes);
}

// Bytes an item that the process grows by, those of its texts, and the rest.
void Memory(benchmark::State& state) {
  Folder(state.range(0));
  for (auto round : state) {
    malloc_trim(0);
    const double before = StatusBytes("VmRSS:");
    StoreIndex store(&Files());
    LoadIndex(&store, state.range(0), kAllProperties);
    const double items = static_cast<double>(state.range(0));
    const double grown = (StatusBytes("VmRSS:") - before) / items;
    const double text = TextBytes(store.Index) / items;
    state.counters["grownAnItem"] = grown;
    state.counters["textAnItem"] = text;
    state.counters["overText"] = grown - text;
  }
}

BENCHMARK_CAPTURE(Load, keys, kKeys)->Apply(FolderSizes)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, all, kAllProperties)->Apply(FolderSizes)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadPugixml)->Apply(FolderSizes)->Unit(benchmark::kMillisecond);
BENCHMARK(Memory)->Arg(kMillion)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace corvane::bench

BENCHMARK_MAIN();
