// TextFile.h -- text files with CR LF on disk and "\n" in the program.
//
// Writing turns each "\n" into CR LF; reading turns each CR LF into "\n" and leaves every other
// byte alone, NUL and 0x1A among them. Buffered. Opened with read and write sharing, as the
// runtime's streams are.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/File.h"

namespace corvane::platform {

enum class TextMode : std::uint8_t { kRead, kWrite, kAppend };

class TextFile {
 public:
  TextFile();
  ~TextFile();  // closes
  TextFile(TextFile&&) noexcept;
  TextFile& operator=(TextFile&&) noexcept;

  // kWrite empties or makes the file, kAppend makes it or goes on at its end (each flush appends in
  // one write, so several appenders keep their lines whole). Empty on failure, with LastError.
  [[nodiscard]] static TextFile Open(std::string_view path, TextMode mode,
                                     Share share = kShareReadWrite);
  [[nodiscard]] bool IsOpen() const { return static_cast<bool>(state_); }
  explicit operator bool() const { return IsOpen(); }

  // The next line with its "\n" if it has one, at most `limit` bytes of it: a longer line comes in
  // pieces. Nothing at the end or on a read error (Failed() tells).
  [[nodiscard]] std::optional<std::string_view> ReadLine(std::size_t limit = SIZE_MAX);

  // False when the disk is full and the like; small pieces may be told only by Flush or Close.
  bool Write(std::string_view text);
  bool Flush();
  bool Close();
  [[nodiscard]] bool Failed() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace corvane::platform
