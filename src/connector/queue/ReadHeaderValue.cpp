#include "connector/queue/ReadHeaderValue.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

#include "platform/File.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr std::size_t kLineBytes = 2048;

// Lines with their LF, at most kLineBytes of one at a time.
class LineReader {
 public:
  explicit LineReader(platform::File& file) : file_(file) {}

  [[nodiscard]] std::optional<std::string_view> Next() {
    std::string_view rest = Rest();
    while (rest.find('\n') == std::string_view::npos && rest.size() < kLineBytes && Fill()) {
      rest = Rest();
    }
    if (rest.empty()) return std::nullopt;
    const std::size_t end = rest.find('\n');
    const std::size_t length = end == std::string_view::npos ? rest.size() : end + 1;
    const std::string_view line = rest.substr(0, std::min(length, kLineBytes));
    at_ += line.size();
    return line;
  }

 private:
  [[nodiscard]] std::string_view Rest() const { return {&buffer_[at_], size_ - at_}; }

  bool Fill() {
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(at_),
              buffer_.begin() + static_cast<std::ptrdiff_t>(size_), buffer_.begin());
    size_ -= at_;
    at_ = 0;
    const std::int64_t got = file_.Read(&buffer_[size_], buffer_.size() - 1 - size_);
    if (got > 0) size_ += static_cast<std::size_t>(got);
    return got > 0;
  }

  platform::File& file_;
  std::array<char, 4 * kLineBytes + 1> buffer_;
  std::size_t at_ = 0;
  std::size_t size_ = 0;
};

bool IsBlank(std::string_view line) { return line == "\r\n" || line == "\n"; }

std::string_view WithoutEnd(std::string_view line) {
  return line.substr(0, line.find_first_of("\r\n"));
}

std::string_view WithoutLeadingBlanks(std::string_view text) {
  const std::size_t start = text.find_first_not_of("\r\n ");
  return start == std::string_view::npos ? std::string_view{} : text.substr(start);
}

}  // namespace

bool ReadHeaderValue(std::string_view messagePath, std::string_view headerName, std::string& out,
                     std::size_t outSize, std::int32_t maxLines) {
  out.clear();
  auto file = platform::File::Open(messagePath, platform::Access::kRead, platform::kShareAll,
                                   platform::Disposition::kOpenExisting);
  if (!file) return false;
  std::string name(headerName);
  if (!name.ends_with(':')) name += ':';
  LineReader lines(file);
  bool found = false;
  for (std::int64_t read = 0; read <= maxLines; ++read) {
    const auto line = lines.Next();
    if (!line || IsBlank(*line)) break;
    const bool folded = line->front() == ' ' || line->front() == '\t';
    if (found && !folded) break;
    if (found) {
      out.append(WithoutEnd(*line));
    } else if (platform::EqualsNoCase(line->substr(0, name.size()), name)) {
      out = WithoutEnd(WithoutLeadingBlanks(line->substr(name.size())));
      found = true;
    }
  }
  if (outSize > 0 && out.size() >= outSize) out.resize(outSize - 1);
  return found;
}

}  // namespace corvane
