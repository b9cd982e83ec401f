// IndexWriteStream.h -- writes an index file, in place or as a new one, through a buffer.
//
// A seek, read or write that fails is told to the event log, once for each, and the stream goes on;
// Failed() says so at the end. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/File.h"
#include "platform/WholeFile.h"

namespace corvane {

class IndexWriteStream {
 public:
  // In place: `file` is open for reading and writing. `size` is its size now.
  IndexWriteStream(platform::File* file, std::uint64_t size, std::size_t bufferSize)
      : file_(file), size_(size), bufferSize_(bufferSize) {}
  // A new file, written from its beginning to its end.
  IndexWriteStream(platform::WholeFile* whole, std::size_t bufferSize)
      : whole_(whole), bufferSize_(bufferSize) {}

  // In place only.
  void Seek(std::uint64_t position);
  [[nodiscard]] std::string ReadAt(std::uint64_t position, std::uint64_t size);

  void Write(std::string_view bytes);
  void Flush();
  [[nodiscard]] std::uint64_t Position() const { return position_ + buffer_.size(); }
  [[nodiscard]] bool InPlace() const { return file_ != nullptr; }
  // The size that the file had at first.
  [[nodiscard]] std::uint64_t OldSize() const { return size_; }
  [[nodiscard]] bool Failed() const { return failed_; }

 private:
  void WriteThrough(std::string_view bytes);
  void Check(bool worked, const char* function, int line);

  platform::File* file_ = nullptr;
  platform::WholeFile* whole_ = nullptr;
  std::uint64_t size_ = 0;
  std::size_t bufferSize_;
  std::string buffer_;
  std::uint64_t position_ = 0;  // of the buffer's first byte
  bool failed_ = false;
};

// Where the trailer begins: where a new element goes. 0 for a file that isn't longer than it, the
// end of the file when it has none.
[[nodiscard]] std::uint64_t TrailerOffset(IndexWriteStream* stream);

}  // namespace corvane
