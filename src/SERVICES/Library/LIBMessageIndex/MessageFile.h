// MessageFile.h -- a message file, read as far as somebody needs it.
//
// The headers come first, in one read of the file's beginning for most messages; the rest only when
// asked for. The header block ends at the first empty line, whatever line ends the file has; one
// empty line at the very start is passed over, as mail readers do. What has no empty line is all
// headers. The file stays open, shared with everybody.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/File.h"

namespace corvane {

// Where the headers of a message end.
struct HeaderExtent {
  std::size_t blockEnd = 0;  // behind the last header line, before its line end
  std::size_t lineEnd = 0;   // behind that line end: where the empty line stands, if there is one
  bool closed = false;       // there is an empty line
  bool crLf = false;         // it and the line before end with CR LF
};

// Of the beginning of a message.
[[nodiscard]] HeaderExtent FindHeaderExtent(std::string_view text);

class MessageFile {
 public:
  // Opens the file and reads at least its headers; nothing when it can't be read, with LastError.
  [[nodiscard]] static std::optional<MessageFile> Open(std::string_view path);

  // What was read so far: the headers and usually some of the body.
  [[nodiscard]] std::string_view Text() const { return text_; }
  [[nodiscard]] const HeaderExtent& Extent() const { return extent_; }
  [[nodiscard]] std::string_view HeaderBlock() const { return Text().substr(0, extent_.blockEnd); }
  [[nodiscard]] const platform::FileInfo& Info() const { return info_; }
  [[nodiscard]] platform::File& File() { return file_; }

  // The whole message, its line ends brought to CR LF if its headers had others; nothing is left
  // here. False when it can't be read.
  [[nodiscard]] bool TakeWhole(std::string& message);

 private:
  bool ReadHeaders();
  // Reads on for at most `most` bytes more.
  bool ReadMore(std::size_t most);

  platform::File file_;
  platform::FileInfo info_;
  std::string text_;
  HeaderExtent extent_;
  bool atEnd_ = false;
};

}  // namespace corvane
