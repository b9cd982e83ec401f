// FolderSize.h -- the bytes of a folder's items and of the folders below it, kept up to date by
// what changes.
//
// The first measurement lists the folder and watches it. Later ones compare the directory's stamp
// and look only at the names that changed. The folder is listed anew when names moved without a
// sign (another node of a shared file system), when signs were lost, and once an hour. One owner at
// a time; FolderWatches may be shared.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "configuration/FileSizes.h"
#include "configuration/FolderWatches.h"
#include "platform/DirectoryWatch.h"

namespace corvane::configuration {

// What the folders of one process share.
struct MeasuringTools {
  FolderWatches watches;
  bool useWatches = true;
  std::atomic<std::uint64_t> listings{0};  // directories listed
  std::atomic<std::uint64_t> looks{0};     // single names looked at
};

class FolderSize {
 public:
  FolderSize(std::string path, MeasuringTools& tools, int depth = 0);
  ~FolderSize();
  FolderSize(const FolderSize&) = delete;
  FolderSize& operator=(const FolderSize&) = delete;

  // Bytes of the items here and below. 0 for a directory that isn't there. The watches must have
  // been drained just before.
  [[nodiscard]] std::uint64_t Measure();

  // Gives up watches and sizes of single files, here and below; the totals stay good until their
  // directories change.
  void Cool();

  [[nodiscard]] std::size_t FolderCount() const;
  [[nodiscard]] std::size_t MemoryBytes() const;

 private:
  void Update();
  void List();
  void Apply(const FolderChanges& changes);
  void ApplyName(const std::string& name);
  void StopWatching();
  void ForgetIfGone();
  [[nodiscard]] bool IsUnchanged(const platform::DirectoryStamp& now) const;
  [[nodiscard]] bool IsOverdue() const;

  std::string path_;
  MeasuringTools& tools_;
  int depth_;
  int watch_ = -1;
  bool known_ = false;    // total_ was right at stamp_
  bool settled_ = false;  // no change can hide behind stamp_
  bool tooMany_ = false;  // more files than are worth keeping one by one
  std::int64_t listedAt_ = 0;
  platform::DirectoryStamp stamp_;
  std::uint64_t total_ = 0;
  FileSizes sizes_;  // empty when nothing is known of the files
  std::map<std::string, std::unique_ptr<FolderSize>, std::less<>> children_;
};

}  // namespace corvane::configuration
