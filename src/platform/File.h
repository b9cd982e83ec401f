// File.h -- open files with share modes.
//
// Two opens of one file conflict exactly as share modes do: between threads, processes and the
// nodes of a shared file system, at once and never with a wait; the claim ends with the File or the
// process. It is made of advisory open-file-description locks on six bytes far behind any content,
// so it binds everybody who opens through this layer. Holders are told apart by open file: two
// threads exclude each other too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace corvane::platform {

// What an opener does with the file, and what it lets others do meanwhile.
enum class Access : std::uint8_t { kRead, kWrite, kReadWrite };

struct Share {
  bool read = false;
  bool write = false;
  bool remove = false;  // delete and rename
};
inline constexpr Share kShareNone{};
inline constexpr Share kShareRead{.read = true};
inline constexpr Share kShareReadWrite{.read = true, .write = true};
inline constexpr Share kShareReadRemove{.read = true, .remove = true};
inline constexpr Share kShareAll{.read = true, .write = true, .remove = true};

enum class Disposition : std::uint8_t {
  kOpenExisting,      // 2 or 3 when it is not there
  kCreateNew,         // 80 when it is there; the new file appears with its claim already held
  kCreateAlways,      // made, or emptied after the claim is held
  kOpenAlways,        // made, or opened as it is
  kTruncateExisting,  // emptied after the claim is held; 2 or 3 when it is not there
};

// A file's identity and state.
struct FileInfo {
  std::uint64_t size = 0;
  std::int64_t lastWriteTime = 0;  // seconds since 1970
  std::int32_t lastWriteNanoseconds = 0;
  std::int64_t creationTime = 0;   // seconds since 1970; the last change if that isn't known
  bool creationTimeKnown = false;  // by the file system
  std::uint64_t device = 0;        // which file system
  bool directory = false;
  bool readOnly = false;  // no write bit at all
};

// An open file. Move-only; closes at its end. Not for use by two threads at once.
class File {
 public:
  File() = default;
  ~File();
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;

  // Opens `path`. After the claim is held it is checked that the path still names this file, so
  // that a file that was replaced meanwhile is never held by mistake. Empty on failure, with
  // LastError: 2 file not found, 3 a directory on the way is missing, 5 access denied or a
  // directory, 19 read-only file system, 32 somebody holds it, 80 it exists, 112 disk full, 123 or
  // 206 a bad name.
  [[nodiscard]] static File Open(std::string_view path, Access access, Share share,
                                 Disposition disposition);

  [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }
  explicit operator bool() const { return IsOpen(); }

  // Closes; false when the system reported a write error at last.
  bool Close();

  // Up to `size` bytes at the file position; 0 at the end, -1 on failure.
  [[nodiscard]] std::int64_t Read(void* buffer, std::size_t size);
  // All bytes or false (112 disk full ...).
  [[nodiscard]] bool Write(std::string_view bytes);
  // The whole file from its start, or nothing on failure or when it is longer than `limit` (8 is
  // the last error then).
  [[nodiscard]] std::optional<std::string> ReadAll(std::uint64_t limit = UINT64_MAX);

  [[nodiscard]] bool Seek(std::uint64_t position);
  [[nodiscard]] std::int64_t Position() const;
  // Cuts or extends the file at the file position.
  [[nodiscard]] bool SetEndOfFile();
  // Makes sure that the file can be written up to `size`, which then is its size unless it is
  // longer already: what it gains are zeros. False, with the file as it was, when there is no room.
  [[nodiscard]] bool Reserve(std::uint64_t size);
  // Data and what is needed to find it again are on the disk when this returns true.
  [[nodiscard]] bool Flush();
  [[nodiscard]] std::optional<FileInfo> Info() const;

  // Changes what others may do from now on, without a moment in which the file is free. Only
  // towards more sharing (from kShareNone to anything). False, with 32, never happens in that
  // direction.
  [[nodiscard]] bool RelaxShare(Share share);

  // Removes the name `path` of this open file while it is still held; the caller's own claim is no
  // obstacle. 32 when another holder doesn't share deletion, 2 when the path no longer names this
  // file.
  [[nodiscard]] bool RemoveName(std::string_view path);

  // For the layer itself.
  [[nodiscard]] int Descriptor() const { return descriptor_; }

 private:
  friend class WholeFile;
  int descriptor_ = -1;
  Access access_ = Access::kRead;
  Share share_;
};

}  // namespace corvane::platform
