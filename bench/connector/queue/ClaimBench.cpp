// ClaimBench.cpp -- what a claim costs, and a sweep over messages that are not due, each beside a
// floor in the same run.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "connector/queue/OutgoingClaim.h"
#include "platform/FileSystem.h"

namespace {

namespace fs = std::filesystem;
using corvane::OutgoingClaim;

std::string NameOf(int number) {
  std::array<char, 64> name;
  std::snprintf(name.data(), name.size(), "%032X.MAI", static_cast<unsigned>(number));
  return name.data();
}

void Write(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string CommandText(const char* nextSendTime) {
  return std::string(
             "Recipients=[SF:acme/anna]\r\nServer=\r\nSender=[SMTP:a@b.example]\r\nRetries=0\r\n"
             "NextSendTime=") +
         nextSendTime + "\r\nTimeAcquired=1700000000\r\nStatus=Unsent\r\n";
}

// A directory of command files, made once for the runs that share its size.
class Queue {
 public:
  Queue(int files, const char* nextSendTime) {
    std::string pattern = (fs::temp_directory_path() / "corvane-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
    const std::string text = CommandText(nextSendTime);
    for (int i = 0; i < files; ++i) Write(path_ / NameOf(i), text);
  }
  ~Queue() { fs::remove_all(path_); }
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;
  [[nodiscard]] const fs::path& Path() const { return path_; }

 private:
  fs::path path_;
};

void SweepNotDue(benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0));
  const Queue queue(count, "4000000000");
  for (auto _ : state) {
    corvane::platform::FileFinder files(queue.Path().string() + "/*.MAI");
    int taken = 0;
    while (const auto file = files.Next()) {
      taken += OutgoingClaim::Take(queue.Path().string(), file->name).IsHeld() ? 1 : 0;
    }
    if (taken != 0) state.SkipWithError("a message that is not due was taken");
  }
  state.SetItemsProcessed(state.iterations() * count);
}

// The floor: list, look at, open, read and close each file.
void SweepFloor(benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0));
  const Queue queue(count, "4000000000");
  std::array<char, 4096> buffer;
  for (auto _ : state) {
    for (const auto& entry : fs::directory_iterator(queue.Path())) {
      benchmark::DoNotOptimize(fs::last_write_time(entry.path()));
      const int file = open(entry.path().c_str(), O_RDWR);
      benchmark::DoNotOptimize(read(file, buffer.data(), buffer.size()));
      close(file);
    }
  }
  state.SetItemsProcessed(state.iterations() * count);
}

void ClaimDue(benchmark::State& state) {
  const Queue queue(1, "0");
  const std::string text = CommandText("0");
  for (auto _ : state) {
    state.PauseTiming();
    Write(queue.Path() / NameOf(0), text);
    state.ResumeTiming();
    auto claim = OutgoingClaim::Take(queue.Path().string(), NameOf(0));
    if (!claim.Commit("Delivering", "NODE1")) state.SkipWithError("not claimed");
  }
}

// The floor: read it, write the new text under another name, sync it, rename it, sync the
// directory.
void ClaimFloor(benchmark::State& state) {
  const Queue queue(1, "0");
  const std::string path = (queue.Path() / NameOf(0)).string();
  const std::string next = (queue.Path() / "_next").string();
  const int directory = open(queue.Path().c_str(), O_RDONLY | O_DIRECTORY);
  std::array<char, 4096> buffer;
  for (auto _ : state) {
    const int old = open(path.c_str(), O_RDWR);
    const auto size = read(old, buffer.data(), buffer.size());
    const int file = open(next.c_str(), O_CREAT | O_WRONLY, 0644);
    if (size < 0 || write(file, buffer.data(), static_cast<std::size_t>(size)) != size)
      state.SkipWithError("write");
    fdatasync(file);
    rename(next.c_str(), path.c_str());
    fsync(directory);
    close(file);
    close(old);
  }
  close(directory);
}

BENCHMARK(SweepNotDue)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(SweepFloor)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(ClaimDue)->Unit(benchmark::kMicrosecond);
BENCHMARK(ClaimFloor)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
