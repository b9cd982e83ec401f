// DirectoryWatch.h -- what has changed in a directory since one last looked.
//
// A stamp tells cheaply whether names came or went; a watch tells which ones, without listing the
// directory again; a listing gives names and sizes in one pass.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace corvane::platform {

// A directory's identity and the times that move with its names. Two equal stamps: no name has come
// or gone between them, but for changes within one tick of the system's clock (see IsSettled).
struct DirectoryStamp {
  std::uint64_t device = 0;
  std::uint64_t file = 0;
  std::int64_t modified = 0;  // nanoseconds since 1970
  std::int64_t changed = 0;
  bool operator==(const DirectoryStamp&) const = default;
};

// The same of a file, with its size: two equal stamps are one file that nobody has written between
// them.
struct FileStamp {
  DirectoryStamp identity;
  std::uint64_t size = 0;
  bool operator==(const FileStamp&) const = default;
};
[[nodiscard]] std::optional<FileStamp> ReadFileStamp(std::string_view path);

// Nothing when there is no such directory (2, 3) or it can't be looked at (5 ...).
[[nodiscard]] std::optional<DirectoryStamp> ReadDirectoryStamp(std::string_view path);

// Whether the stamp, read just now, is old enough that a later change must give another one.
[[nodiscard]] bool IsSettled(const DirectoryStamp& stamp);

// One name of a directory: a regular file with its size, or a directory. Symbolic links are
// followed to files and never to directories.
struct DirectoryName {
  std::string_view name;
  bool isDirectory = false;
  std::uint64_t size = 0;
};

// Calls `visit` for each file and directory; false when the directory can't be read to its end. A
// regular file whose size `known` gives isn't looked at.
using KnownSize = std::function<std::optional<std::uint64_t>(std::string_view name)>;
[[nodiscard]] bool ListDirectory(std::string_view path,
                                 const std::function<void(const DirectoryName&)>& visit,
                                 const KnownSize& known = {});
// One name as ListDirectory would give it; nothing when it isn't there, or is neither.
[[nodiscard]] std::optional<DirectoryName> LookAtName(std::string_view path, std::string_view name);

struct DirectoryEvent {
  enum class Kind : std::uint8_t {
    kName,     // `name` came, went or was written
    kGone,     // the directory was deleted, moved or unmounted; its watch has ended
    kOverflow  // events were lost, for every watch
  };
  Kind kind = Kind::kName;
  int watch = -1;
  std::string_view name;
  bool isDirectory = false;  // what the name stands for, or stood for
};

// Watches many directories through one queue of the kernel. For one thread at a time.
class DirectoryWatch {
 public:
  DirectoryWatch();
  ~DirectoryWatch();
  DirectoryWatch(const DirectoryWatch&) = delete;
  DirectoryWatch& operator=(const DirectoryWatch&) = delete;

  // False when the system has no queue to give; every Add fails then.
  [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }

  // A number for the watch; -1 when the system refuses, or when the directory lies on a file system
  // whose other nodes change it unseen. Adding a directory twice gives the same number.
  [[nodiscard]] int Add(std::string_view path);
  void Remove(int watch);

  // Hands out all events so far; never waits.
  void Drain(const std::function<void(const DirectoryEvent&)>& handle);

 private:
  int descriptor_;
};

}  // namespace corvane::platform
