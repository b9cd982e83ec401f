// TemporaryDirectory.h -- a directory of a test's own, gone at its end.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace corvane::test {

namespace fs = std::filesystem;

class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  [[nodiscard]] const std::string& Path() const { return path_; }
  // The path of something below it.
  [[nodiscard]] std::string operator/(std::string_view name) const {
    return path_ + "/" + std::string(name);
  }

 private:
  std::string path_;
};

// Plain reading and writing beside the platform layer, so that a test doesn't judge it by itself.
[[nodiscard]] std::string ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, std::string_view bytes);

}  // namespace corvane::test
