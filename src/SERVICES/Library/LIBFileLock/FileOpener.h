// FileOpener.h -- a text file that opens with a pause where somebody is in the way.
#pragma once

#include <cstdint>
#include <string>

#include "platform/TextFile.h"

namespace corvane {

// Opens the file once, at construction. When that fails for another reason than that there is none,
// a second passes, for the caller who comes again. Belongs to one thread; closes at its end.
class FileOpener {
 public:
  // `mode` is "r", "w" or "a", perhaps with a "t". `secure` opens it checked: nobody else may write
  // to a file that is read, or open one that is written, as long as it is open. Any other mode
  // fails with error 87.
  FileOpener(const std::string& path, const std::string& mode, std::int32_t secure);
  virtual ~FileOpener() = default;
  FileOpener(const FileOpener&) = delete;
  FileOpener& operator=(const FileOpener&) = delete;

  [[nodiscard]] bool IsOpen() const { return File.IsOpen(); }
  // The error of the opening, 0 for none.
  [[nodiscard]] std::int32_t GetLastError() const { return LastError; }
  bool Flush() { return File.IsOpen() && File.Flush(); }
  bool Close() { return File.IsOpen() && File.Close(); }

  std::string Mode;
  std::string Path;
  std::int32_t Secure;
  std::int32_t LastError = 0;
  platform::TextFile File;  // not open when the opening failed
};

}  // namespace corvane
