// FileBench.cpp -- what the file layer costs beside bare system calls, and names in any case in
// small and big folders, in one run.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "platform/FileSystem.h"
#include "platform/NameCache.h"
#include "platform/WholeFile.h"

namespace corvane::platform {
namespace {

// A directory of messages, gone at the end of the program.
class Folder {
 public:
  explicit Folder(std::int64_t messages) {
    std::string pattern = (std::filesystem::temp_directory_path() / "files-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
    for (std::int64_t i = 0; i < messages; ++i) Make(std::to_string(i) + ".MAI");
    for (const char* name : {"_CHANGE.DTY", "Anna.vcf"}) Make(name);
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  [[nodiscard]] std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  void Make(const std::string& name, std::size_t size = 0) const {
    const std::string path = *this / name;
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    const std::string bytes(size, 'x');
    if (file < 0 || write(file, bytes.data(), size) != static_cast<ssize_t>(size)) std::abort();
    close(file);
  }

 private:
  std::string path_;
};

const Folder& FolderOf(std::int64_t messages) {
  static std::map<std::int64_t, std::unique_ptr<Folder>> folders;
  std::unique_ptr<Folder>& folder = folders[messages];
  if (!folder) folder = std::make_unique<Folder>(messages);
  return *folder;
}

void FloorOpenClose(benchmark::State& state) {
  const std::string path = FolderOf(10) / "5.MAI";
  for (auto _ : state) close(open(path.c_str(), O_RDWR | O_CLOEXEC));
}
BENCHMARK(FloorOpenClose);

void OpenWith(benchmark::State& state, Access access, Share share) {
  const std::string path = FolderOf(10) / "5.MAI";
  for (auto _ : state) {
    const File file = File::Open(path, access, share, Disposition::kOpenExisting);
    if (!file) state.SkipWithError("not opened");
  }
}
void OpenExclusive(benchmark::State& state) { OpenWith(state, Access::kReadWrite, kShareNone); }
BENCHMARK(OpenExclusive);
void OpenToRead(benchmark::State& state) { OpenWith(state, Access::kRead, kShareReadWrite); }
BENCHMARK(OpenToRead);

void OpenHeldByAnother(benchmark::State& state) {
  const std::string path = FolderOf(10) / "6.MAI";
  const File holder = File::Open(path, Access::kReadWrite, kShareNone, Disposition::kOpenExisting);
  for (auto _ : state) {
    if (File::Open(path, Access::kReadWrite, kShareNone, Disposition::kOpenExisting)) {
      state.SkipWithError("opened");
    }
  }
}
BENCHMARK(OpenHeldByAnother);

// Copying under a new name and removing it again, with nothing flushed.
void FloorCopyRange(benchmark::State& state) {
  const Folder folder(0);
  const auto size = static_cast<std::size_t>(state.range(0));
  folder.Make("from", size);
  const std::string from = folder / "from";
  const std::string to = folder / "to";
  for (auto _ : state) {
    const int source = open(from.c_str(), O_RDONLY | O_CLOEXEC);
    const int target = open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (copy_file_range(source, nullptr, target, nullptr, size, 0) < 0) std::abort();
    close(target);
    close(source);
    unlink(to.c_str());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FloorCopyRange)->Arg(4096)->Arg(1 << 20);

void CopyWhole(benchmark::State& state) {
  const Folder folder(0);
  folder.Make("from", static_cast<std::size_t>(state.range(0)));
  const std::string from = folder / "from";
  const std::string to = folder / "to";
  for (auto _ : state) {
    if (!CopyFile(from, to, false, false)) state.SkipWithError("not copied");
    unlink(to.c_str());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(CopyWhole)->Arg(4096)->Arg(1 << 20);

void FloorDelete(benchmark::State& state) {
  const Folder folder(0);
  const std::string path = folder / "x.MAI";
  for (auto _ : state) {
    close(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    unlink(path.c_str());
  }
}
BENCHMARK(FloorDelete);

void DeleteChecked(benchmark::State& state) {
  const Folder folder(0);
  const std::string path = folder / "x.MAI";
  for (auto _ : state) {
    close(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (!DeleteFile(path)) state.SkipWithError("not deleted");
  }
}
BENCHMARK(DeleteChecked);

// One flush of a directory for each new name, by one thread and by several who meet.
void NameAndFlush(benchmark::State& state) {
  const Folder& folder = FolderOf(11);
  std::int64_t number = 0;
  for (auto _ : state) {
    const std::string name =
        std::to_string(state.thread_index()) + "-" + std::to_string(number++ % 100) + ".MAI";
    if (!WriteWholeFile(folder / name, "x", true, Durability::kDataAndName)) {
      state.SkipWithError("not written");
    }
  }
}
BENCHMARK(NameAndFlush)->Threads(1)->Threads(10)->UseRealTime();

struct LookUp {
  const char* name;
  const char* file;
};
constexpr LookUp kLookUps[] = {
    {"exact name", "5.MAI"},
    {"missing message", "none.MAI"},
    {"missing flag", "_CACHE.DTY"},
    {"flag in other case", "_change.dty"},
    {"name in other case", "ANNA.VCF"},
    {"missing name", "none.vcf"},
};

void FloorStat(benchmark::State& state) {
  const std::string path = FolderOf(state.range(0)) / "5.MAI";
  struct stat result = {};
  for (auto _ : state) benchmark::DoNotOptimize(stat(path.c_str(), &result));
}
BENCHMARK(FloorStat)->Arg(10)->Arg(100'000);

void LookUpName(benchmark::State& state) {
  const LookUp& lookUp = kLookUps[state.range(1)];
  const std::string path = FolderOf(state.range(0)) / lookUp.file;
  // Until a listing is old enough to be kept.
  for (std::uint64_t before = 1, after = 0; before != after;) {
    before = names::Counters().listings;
    benchmark::DoNotOptimize(FileExists(path));
    after = names::Counters().listings;
  }
  const std::uint64_t listings = names::Counters().listings;
  for (auto _ : state) benchmark::DoNotOptimize(FileExists(path));
  state.counters["listings"] = static_cast<double>(names::Counters().listings - listings);
  state.SetLabel(lookUp.name);
}
BENCHMARK(LookUpName)->ArgsProduct({{10, 100'000}, {0, 1, 2, 3, 4, 5}});

}  // namespace
}  // namespace corvane::platform

BENCHMARK_MAIN();
