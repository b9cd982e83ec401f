// WholeFile.h -- a file that appears at once or not at all.
//
// Written without a name (or, where the file system can't do that, under "_<name>.tmp", which no
// search of the product matches), made durable, then linked or renamed into place. Until Commit a
// reader sees the old file or none; a crash leaves at most a "_<name>.tmp", which the next writer
// of that name replaces.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/File.h"

namespace corvane::platform {

class NewFile;

enum class Durability : std::uint8_t {
  kNone,        // left to the system
  kData,        // the bytes are on the disk before the name appears
  kDataAndName  // and so is the name when Commit returns
};

class WholeFile {
 public:
  WholeFile();
  ~WholeFile();  // without Commit everything is dropped
  WholeFile(WholeFile&&) noexcept;
  WholeFile& operator=(WholeFile&&) noexcept;

  // Begins a file that will stand at `path`. Empty on failure: 3 the directory is missing, 5, 19,
  // 112 ...
  [[nodiscard]] static WholeFile Create(std::string_view path);
  explicit operator bool() const;

  // Appends; false at a full disk and the like. After a failure Commit fails too.
  [[nodiscard]] bool Write(std::string_view bytes);
  // Appends `size` bytes of `source` from its position `offset` on, or all to its end; the bytes
  // stay in the kernel.
  [[nodiscard]] bool CopyFrom(const File& source, std::uint64_t offset,
                              std::uint64_t size = UINT64_MAX);
  // Last write time of the finished file.
  void SetLastWriteTime(std::int64_t seconds, std::int32_t nanoseconds);

  // Puts the file in place. `replace` replaces a file that is there (32 while somebody holds it),
  // otherwise 80; as far as the process may, owner, group and permissions stay those of that file.
  // On failure nothing has changed, but for a failed flush of the directory at the
  // very end: the new file stands then, and may not survive a power failure.
  [[nodiscard]] bool Commit(bool replace, Durability durability);

  // Puts the file in place of one that the caller itself holds open as `held`, and hands out the
  // new file, still open and claimed with `share` before its name appears; `held` is closed behind
  // it. The new file's position is at its end. 2 when the path no longer names `held`. For state
  // files that change hands under a claim.
  [[nodiscard]] File CommitOver(File& held, Share share, Durability durability);

 private:
  struct State;
  // Puts the new file over the one that `held` holds; an error number.
  static std::int32_t ReplaceHeld(NewFile* file, const File& held);
  std::unique_ptr<State> state_;
};

// Writes `bytes` as the whole of `path`.
[[nodiscard]] bool WriteWholeFile(std::string_view path, std::string_view bytes,
                                  bool replace = true,
                                  Durability durability = Durability::kDataAndName);

// The whole of a file up to `limit` bytes (8 when it is longer), opened for reading beside readers
// and writers.
[[nodiscard]] std::optional<std::string> ReadWholeFile(std::string_view path,
                                                       std::uint64_t limit = UINT64_MAX);

}  // namespace corvane::platform
