// IndexReadStream.h -- an index file as text and tags in turn.
//
// Reads in blocks; what a call hands out lies in the buffer and is good until the next call. The
// buffer grows for a text that is longer than it, and so is bounded by the file. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/File.h"

namespace corvane {

class IndexReadStream {
 public:
  // A block is at least 8,192 bytes. `file` outlives the stream.
  IndexReadStream(platform::File* file, std::size_t blockSize);

  struct Piece {
    std::string_view text;  // before the tag
    std::string_view tag;   // without "<" and ">", cut at kLongestTag bytes; the rest is text then
    std::uint64_t tagOffset = 0;  // of the "<"
  };
  // False at the end of the file, and where it ends within a tag.
  [[nodiscard]] bool Next(Piece* piece);
  // What follows and is in the buffer already; good until the next call that reads.
  [[nodiscard]] std::string_view Buffered() const {
    return {buffer_.data() + begin_, end_ - begin_};
  }
  // Hands out so many bytes of it.
  void Skip(std::size_t bytes) { begin_ += bytes; }
  // The end came early: the file couldn't be read on.
  [[nodiscard]] bool Failed() const { return failed_; }
  // Bytes handed out so far.
  [[nodiscard]] std::uint64_t Consumed() const { return base_ + begin_; }

 private:
  // Next where text and tag together are short and in the buffer; false for all others.
  bool NextShort(Piece* piece);
  // Reads more behind what is there; false at the end.
  bool Fill();
  // The distance from begin_ + `from` to the byte `c`, or npos when the file ends before it.
  [[nodiscard]] std::size_t FindByte(char c, std::size_t from, std::size_t limit);

  platform::File* file_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::uint64_t base_ = 0;  // the file offset of the buffer's first byte
  bool atEnd_ = false;
  bool failed_ = false;
};

}  // namespace corvane
