// HostileBench.cpp -- what messages built to cost time or memory take to be read whole.
//
// "s_per_10MB" is to stay below 1, "peak_over_size" below 3. The floor is a copy of the message,
// byte by byte searched once. A program of its own, for it counts every allocation.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>

#include "tests/message/HeapMeter.h"
#include "tests/message/HostileMessages.h"

namespace {

using corvane::test::HostileMessage;

void ReadHostile(benchmark::State& state, const HostileMessage& hostile) {
  const std::string text = hostile.make();
  const auto size = static_cast<double>(text.size());
  std::size_t peak = 0;
  for (auto _ : state) {
    state.PauseTiming();
    std::size_t before = corvane::test::HeapInUse();
    std::string copy = text;
    corvane::test::ResetHeapPeak();
    state.ResumeTiming();
    corvane::test::ReadEverything(std::move(copy));
    peak = std::max(peak, corvane::test::HeapPeak() - before);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  state.counters["peak_over_size"] = static_cast<double>(peak) / size;
  state.counters["s_per_10MB"] = benchmark::Counter(
      size / 10e6, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void CopyFloor(benchmark::State& state, const HostileMessage& hostile) {
  const std::string text = hostile.make();
  for (auto _ : state) {
    std::string copy = text;
    benchmark::DoNotOptimize(std::count(copy.begin(), copy.end(), '\n'));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

}  // namespace

int main(int argc, char** argv) {
  const auto& messages = corvane::test::HostileMessages();
  auto add = [](const std::string& name, auto function, const HostileMessage& hostile) {
    benchmark::RegisterBenchmark(name.c_str(), function, hostile)->Unit(benchmark::kMillisecond);
  };
  add("BM_CopyFloor", CopyFloor, messages.front());
  for (const HostileMessage& hostile : messages) {
    add(std::string("BM_") + hostile.name, ReadHostile, hostile);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
