// FolderIndexBench.cpp -- changes to a folder's index one at a time, beside the bare file work that
// no such change can do without, and scans of folders, beside the bare looks at their files.
//
// An insertion must make the lock file, read the header, write LASTUID over, write the element over
// the trailer, and take the lock file away. A removal must find its element, which is a matter of
// reading the file, before it blanks it; the blanking is measured by itself too.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "SERVICES/Library/LIBMessageIndex/FolderIndex.h"
#include "SERVICES/Library/LIBMessageIndex/FolderScan.h"
#include "SERVICES/Library/LIBMessageIndex/MessageIndexFiles.h"
#include "SERVICES/Library/LIBMessageIndex/ParseMessage.h"
#include "bench/support/IndexFolder.h"
#include "message/MimeMessage.h"

namespace corvane::bench {
namespace {

constexpr int kInsertions = 1'000;
constexpr int kRemovals = 20;
constexpr std::size_t kHead = 1'023;
constexpr off_t kLastUidAt = 23;
constexpr off_t kTrailerSize = 16;

// A folder of so many items and where its changes have come to.
struct Changing {
  std::string path;
  std::int64_t nextNew;
  std::int64_t nextOld = 1;
};

// One for each kind of change and size, for all repetitions.
Changing& Folder(const char* kind, std::int64_t items) {
  static std::map<std::string, Changing> folders;
  const std::string name = kind + std::to_string(items);
  const auto [entry, isNew] = folders.try_emplace(name);
  if (isNew) entry->second = {MakeIndexedFolder(name, items), items + 1};
  return entry->second;
}

std::string NewMessage(Changing* folder) {
  std::string name = MessageName(folder->nextNew);
  WriteMessage(folder->path + "/" + name, folder->nextNew++);
  return name;
}

void Insert(benchmark::State& state) {
  Changing& folder = Folder("insert", state.range(0));
  for (auto round : state) {
    state.PauseTiming();
    const std::string name = NewMessage(&folder);
    state.ResumeTiming();
    Require(InsertIntoFolderIndex(folder.path, name) == 1);
  }
}

class BareLock {
 public:
  explicit BareLock(const std::string& folder)
      : path_(folder + "/_index.blk"),
        handle_(open(path_.c_str(), O_CREAT | O_EXCL | O_RDWR, 0600)) {
    Require(handle_ >= 0);
  }
  ~BareLock() {
    close(handle_);
    unlink(path_.c_str());
  }
  BareLock(const BareLock&) = delete;
  BareLock& operator=(const BareLock&) = delete;

 private:
  const std::string path_;
  const int handle_;
};

void WriteAt(int file, off_t at, const std::string& bytes) {
  Require(pwrite(file, bytes.data(), bytes.size(), at) == static_cast<ssize_t>(bytes.size()));
}

void InsertBare(benchmark::State& state) {
  Changing& folder = Folder("insert-bare", state.range(0));
  for (auto round : state) {
    state.PauseTiming();
    const std::string element = Element(folder.nextNew++) + "</BASEELEMENT>\r\n";
    state.ResumeTiming();
    const BareLock lock(folder.path);
    const int file = open((folder.path + "/_index.xml").c_str(), O_RDWR);
    char head[kHead];
    Require(read(file, head, sizeof head) == sizeof head);
    WriteAt(file, kLastUidAt, "0000002a");
    struct stat info {};
    Require(fstat(file, &info) == 0);
    WriteAt(file, info.st_size - kTrailerSize, element);
    close(file);
  }
}

void Remove(benchmark::State& state) {
  Changing& folder = Folder("remove", state.range(0));
  for (auto round : state) {
    std::size_t removed = 0;
    Require(RemoveFromFolderIndex(folder.path, {MessageName(folder.nextOld++)}, &removed) ==
            IndexChange::kDone);
  }
}

void RemoveBare(benchmark::State& state) {
  Changing& folder = Folder("remove-bare", state.range(0));
  static std::string block(1 << 18, '\0');
  for (auto round : state) {
    const BareLock lock(folder.path);
    const int file = open((folder.path + "/_index.xml").c_str(), O_RDWR);
    while (read(file, block.data(), block.size()) > 0) continue;
    WriteAt(file, kLastUidAt, "0000002a");
    WriteAt(file, kHead, " ID=");
    close(file);
  }
}

// What a removal costs once its keys are known.
void Blank(benchmark::State& state) {
  Changing& folder = Folder("blank", state.range(0));
  for (auto round : state) {
    state.PauseTiming();
    const std::string name = MessageName(folder.nextOld++);
    auto store = std::make_unique<StoreIndex>(MessageIndexFiles());
    auto lock = std::make_unique<FolderIndexLock>(store.get(), folder.path, false);
    IndexLoad load;
    load.store = store.get();
    load.path = folder.path;
    load.keyFilter = name;
    load.alreadyLocked = true;
    load.level = kKeys;
    load.useChangeFlag = false;
    Require(lock->IsHeld() && store->Index.Load(load));
    state.ResumeTiming();
    Require(store->Index.RemoveItems(name) == 1);
    Require(store->Index.Save(folder.path, kClassMail, true) && store->Index.LastSaveWorked());
    state.PauseTiming();
    lock.reset();
    store.reset();
    state.ResumeTiming();
  }
}

void BlankBare(benchmark::State& state) {
  Changing& folder = Folder("blank-bare", state.range(0));
  for (auto round : state) {
    const int file = open((folder.path + "/_index.xml").c_str(), O_RDWR);
    WriteAt(file, kLastUidAt, "0000002a");
    WriteAt(file, kHead, " ID=");
    close(file);
  }
}

// Scans.

constexpr std::int64_t kUnchanged = 100'000;
constexpr std::int64_t kNew = 20'000;

// A folder of real message files without an index.
std::string MakeMessages(const char* name, std::int64_t messages) {
  const std::string folder = Place().Path() + "/" + name;
  std::filesystem::create_directories(folder);
  for (std::int64_t i = 1; i <= messages; ++i) WriteMessage(folder + "/" + MessageName(i), i);
  return folder;
}

void Scan(const std::string& folder, std::int64_t messages) {
  SORTEDSTOREINDEXTYPE index(MessageIndexFiles());
  Require(ScanFoldersOrdered(&index, folder, false, nullptr, 0, false) == 1);
  Require(index.ItemCount() == static_cast<std::size_t>(messages));
}

const std::string& UnchangedFolder() {
  static const std::string folder = [] {
    std::string made = MakeMessages("unchanged", kUnchanged);
    Scan(made, kUnchanged);
    return made;
  }();
  return folder;
}

const std::string& NewFolder() {
  static const std::string folder = MakeMessages("new", kNew);
  return folder;
}

void ScanUnchanged(benchmark::State& state) {
  const std::string& folder = UnchangedFolder();
  for (auto round : state) Scan(folder, kUnchanged);
  state.SetItemsProcessed(state.iterations() * kUnchanged);
}

// The directory and one stat each.
void ScanUnchangedBare(benchmark::State& state) {
  const std::string& folder = UnchangedFolder();
  for (auto round : state) {
    DIR* directory = opendir(folder.c_str());
    while (const dirent* entry = readdir(directory)) {
      struct stat info {};
      Require(fstatat(dirfd(directory), entry->d_name, &info, 0) == 0);
      benchmark::DoNotOptimize(info.st_size);
    }
    closedir(directory);
  }
  state.SetItemsProcessed(state.iterations() * kUnchanged);
}

void ScanNew(benchmark::State& state) {
  for (auto round : state) {
    state.PauseTiming();
    std::filesystem::remove(NewFolder() + "/_index.xml");
    state.ResumeTiming();
    Scan(NewFolder(), kNew);
  }
  state.SetItemsProcessed(state.iterations() * kNew);
}

// The headers of each alone.
void ScanNewHeaders(benchmark::State& state) {
  for (auto round : state) {
    for (std::int64_t i = 1; i <= kNew; ++i) {
      const std::string path = NewFolder() + "/" + MessageName(i);
      MimeMessage message;
      message.Load(Text(path), true, false, false);
      message.ParseHeaders(message.Headers, true);
      for (const char* field : {"Subject", "From", "To", "Date"}) {
        benchmark::DoNotOptimize(message.Headers.FirstValue(field));
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * kNew);
}

void ScanNewParse(benchmark::State& state) {
  for (auto round : state) {
    for (std::int64_t i = 1; i <= kNew; ++i) {
      MessageHeaders headers;
      benchmark::DoNotOptimize(ParseMessage(NewFolder() + "/" + MessageName(i), headers, false,
                                            false, kVerifyAttachments, false));
    }
  }
  state.SetItemsProcessed(state.iterations() * kNew);
}

BENCHMARK(Insert)->Apply(FolderSizes)->Iterations(kInsertions)->Unit(benchmark::kMicrosecond);
BENCHMARK(InsertBare)->Apply(FolderSizes)->Iterations(kInsertions)->Unit(benchmark::kMicrosecond);
BENCHMARK(Remove)->Apply(FolderSizes)->Iterations(kRemovals)->Unit(benchmark::kMillisecond);
BENCHMARK(RemoveBare)->Apply(FolderSizes)->Iterations(kRemovals)->Unit(benchmark::kMillisecond);
BENCHMARK(Blank)->Apply(FolderSizes)->Iterations(kRemovals)->Unit(benchmark::kMicrosecond);
BENCHMARK(BlankBare)->Apply(FolderSizes)->Iterations(kRemovals)->Unit(benchmark::kMicrosecond);
BENCHMARK(ScanUnchanged)->Unit(benchmark::kMillisecond);
BENCHMARK(ScanUnchangedBare)->Unit(benchmark::kMillisecond);
BENCHMARK(ScanNew)->Unit(benchmark::kMillisecond);
BENCHMARK(ScanNewHeaders)->Unit(benchmark::kMillisecond);
BENCHMARK(ScanNewParse)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace corvane::bench
