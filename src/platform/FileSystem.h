// FileSystem.h -- files and directories by their paths.
//
// All paths are product paths (Path.h). A failing call returns false or nothing and leaves its
// number as LastError().
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/File.h"

namespace corvane::platform {

// Whether something is there: false only for the errors 2, 3, 18 and 123. A path that can't be
// looked at for another reason counts as there.
[[nodiscard]] bool FileExists(std::string_view path);
[[nodiscard]] bool DirectoryExists(std::string_view path);
[[nodiscard]] std::optional<FileInfo> GetFileInfo(std::string_view path);

// Deletes a file. 32 while somebody holds it without sharing deletion, 5 for a directory.
[[nodiscard]] bool DeleteFile(std::string_view path);

// Renames a file or directory; `replace` allows an existing target file, which is then replaced in
// one step, otherwise 183. 32 while somebody holds either without sharing deletion. Between file
// systems a file is copied whole, made durable under its new name, then deleted under the old one.
[[nodiscard]] bool MoveFile(std::string_view from, std::string_view to, bool replace = false);

// Copies a file, with its last write time. The target appears at once and whole or not at all,
// replacing a file of that name when `replace` is set, else 80. `durable` makes data and name
// durable before it returns. The bytes stay in the kernel. 32 while somebody holds the target, or
// holds the source without sharing reading.
[[nodiscard]] bool CopyFile(std::string_view from, std::string_view to, bool replace, bool durable);

// Gives the file a second name, replacing a file that `to` names, in one step; the same checks as
// CopyFile. Nothing to do when `to` is that file already. 17 where the two lie on different file
// systems or the file system has no links. `durable` makes the new name durable.
[[nodiscard]] bool LinkFile(std::string_view from, std::string_view to, bool durable);

// Whether the file has the owner, the group and the mode that one would get which this process
// makes in `directory`. False also where that can't be told.
[[nodiscard]] bool HasRightsOfNewFile(std::string_view path, std::string_view directory);

// One level; 183 when the name is there, 3 when the parent is not.
[[nodiscard]] bool CreateDirectory(std::string_view path);
// With all parents that are missing; true also when it is there already.
[[nodiscard]] bool CreateDirectories(std::string_view path);
[[nodiscard]] bool RemoveDirectory(std::string_view path);
// Everything below and the directory itself, regardless of holders. For tools and tests.
bool RemoveTree(std::string_view path);

// Makes the names in a directory durable.
[[nodiscard]] bool FlushDirectory(std::string_view path);

// Makes everything of the file systems that hold `directories` durable, each one once. Cheaper than
// many flushes, and as dear as what others have written there.
[[nodiscard]] bool FlushFileSystems(const std::vector<std::string>& directories);
// Whether the data of a file came to the disk, of which a flush of its file system tells only one
// of those who ask. Waits for what is on its way and starts nothing.
[[nodiscard]] bool DataIsWritten(std::string_view path);

[[nodiscard]] bool SetLastWriteTime(std::string_view path, std::int64_t seconds,
                                    std::int32_t nanoseconds = 0);
// Creation times that somebody sets are kept in an attribute of the file, which a copy doesn't
// take along, and only GetCreationTime looks there: FileInfo tells what the file system knows.
// SetCreationTime is false where the file system has no attributes; without one, a file system that
// keeps no creation times has nothing to get.
[[nodiscard]] bool SetCreationTime(std::string_view path, std::int64_t seconds);
[[nodiscard]] std::optional<std::int64_t> GetCreationTime(std::string_view path);

// One entry of an enumeration.
struct FoundFile {
  std::string name;
  FileInfo info;
};

// Walks the names of a directory that match the last name of `pattern` ("<directory>\*.MAI"), in
// the order that the file system gives; "." and ".." are left out, directories are not. Names are
// read as the walk goes on and none is held in memory but the current one.
class FileFinder {
 public:
  // 2 when nothing matches or 3 when the directory is missing: Next() is false at once, then.
  explicit FileFinder(std::string_view pattern);
  ~FileFinder();
  FileFinder(FileFinder&&) noexcept;
  FileFinder& operator=(FileFinder&&) noexcept;

  // The next match, or nothing at the end (18) or on failure. Files that vanish under the walk are
  // passed over. `withInfo` false leaves FoundFile::info empty and saves a look at each file.
  [[nodiscard]] std::optional<FoundFile> Next(bool withInfo = true);
  // Fills the info of a file of the directory that is walked; false when it has gone, and always
  // for a pattern without '*' and '?'.
  [[nodiscard]] bool Look(FoundFile* file) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// DOS date and time words (local time, two-second steps) of a time in seconds since 1970, and back.
struct DosDateTime {
  std::uint16_t date = 0;
  std::uint16_t time = 0;
};
[[nodiscard]] DosDateTime ToDosDateTime(std::int64_t seconds);
[[nodiscard]] std::int64_t FromDosDateTime(DosDateTime value);

}  // namespace corvane::platform
