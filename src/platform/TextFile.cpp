#include "platform/TextFile.h"

#include <fcntl.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/Error.h"
#include "platform/FaultInjection.h"

namespace corvane::platform {
namespace {

constexpr std::size_t kBufferBytes = 16384;

Access AccessFor(TextMode mode) { return mode == TextMode::kRead ? Access::kRead : Access::kWrite; }

Disposition DispositionFor(TextMode mode) {
  if (mode == TextMode::kRead) return Disposition::kOpenExisting;
  return mode == TextMode::kWrite ? Disposition::kCreateAlways : Disposition::kOpenAlways;
}

}  // namespace

struct TextFile::State {
  File file;
  TextMode mode = TextMode::kRead;
  bool failed = false;
  bool ended = false;
  std::string buffer;     // read: bytes as they are on disk; write: bytes to go there
  std::size_t taken = 0;  // read: how many of them were handed out
  std::string line;

  bool Fill();
  bool Take(std::size_t limit);
  bool Put(std::size_t size);
};

// Makes sure that a byte is there, and a second one behind a CR. False at the end.
bool TextFile::State::Fill() {
  const bool enough = taken < buffer.size() && (buffer[taken] != '\r' || taken + 1 < buffer.size());
  if (enough) return true;
  if (!ended) {
    buffer.erase(0, taken);
    taken = 0;
    const std::size_t kept = buffer.size();
    buffer.resize(kept + kBufferBytes);
    const std::int64_t got = file.Read(buffer.data() + kept, kBufferBytes);
    failed = failed || got < 0;
    ended = got < static_cast<std::int64_t>(kBufferBytes);  // a file gives less at its end only
    buffer.resize(kept + static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
  }
  return taken < buffer.size();
}

// Moves bytes into the line up to its end, the end of the buffer or the limit; true when the line
// is complete.
bool TextFile::State::Take(std::size_t limit) {
  if (buffer[taken] == '\r') {
    const bool lineEnd = taken + 1 < buffer.size() && buffer[taken + 1] == '\n';
    line += lineEnd ? '\n' : '\r';
    taken += lineEnd ? 2 : 1;
    return lineEnd || line.size() >= limit;
  }
  const char* const begin = buffer.data() + taken;
  const std::size_t most = std::min(buffer.size() - taken, limit - line.size());
  std::size_t size = most;
  if (const void* end = std::memchr(begin, '\n', size)) {
    size = static_cast<std::size_t>(static_cast<const char*>(end) - begin) + 1;
  }
  if (const void* end = std::memchr(begin, '\r', size)) {
    size = static_cast<std::size_t>(static_cast<const char*>(end) - begin);
  }
  line.append(begin, size);
  taken += size;
  return line.back() == '\n' || line.size() >= limit;
}

// Writes the first `size` bytes that wait.
bool TextFile::State::Put(std::size_t size) {
  if (failed) {
    buffer.clear();
    return false;
  }
  failed = !file.Write(std::string_view(buffer).substr(0, size));
  buffer.erase(0, size);
  return !failed;
}

TextFile::TextFile() = default;
TextFile::TextFile(TextFile&&) noexcept = default;

TextFile::~TextFile() {
  try {
    Close();
  } catch (const FaultStop&) {
    // The dead write nothing more.
  }
}

TextFile& TextFile::operator=(TextFile&& other) noexcept {
  if (this == &other) return *this;
  Close();
  state_ = std::move(other.state_);
  return *this;
}

TextFile TextFile::Open(std::string_view path, TextMode mode, Share share) {
  TextFile text;
  File file = File::Open(path, AccessFor(mode), share, DispositionFor(mode));
  if (!file) return text;
  if (mode == TextMode::kAppend && fcntl(file.Descriptor(), F_SETFL, O_APPEND) != 0) {
    FailWithErrno();
    return text;
  }
  text.state_ = std::make_unique<State>();
  text.state_->file = std::move(file);
  text.state_->mode = mode;
  return text;
}

std::optional<std::string_view> TextFile::ReadLine(std::size_t limit) {
  if (!state_ || state_->mode != TextMode::kRead) {
    SetLastError(state_ ? kErrorAccessDenied : kErrorInvalidHandle);
    return std::nullopt;
  }
  limit = std::max<std::size_t>(limit, 1);
  state_->line.clear();
  while (state_->Fill()) {
    if (state_->Take(limit)) break;
  }
  if (state_->line.empty()) return std::nullopt;
  return state_->line;
}

bool TextFile::Write(std::string_view text) {
  if (!state_ || state_->mode == TextMode::kRead) {
    SetLastError(state_ ? kErrorAccessDenied : kErrorInvalidHandle);
    return false;
  }
  if (state_->failed) return false;
  std::string& buffer = state_->buffer;
  while (!text.empty()) {
    const std::size_t size = std::min(text.find('\n'), text.size());
    buffer.append(text.substr(0, size));
    if (size < text.size()) buffer += "\r\n";
    text.remove_prefix(std::min(size + 1, text.size()));
  }
  if (buffer.size() < kBufferBytes) return !state_->failed;
  // An appender's lines go out whole.
  const std::size_t lineEnd = buffer.rfind('\n');
  const bool whole = state_->mode != TextMode::kAppend || lineEnd == std::string::npos;
  return state_->Put(whole ? buffer.size() : lineEnd + 1);
}

bool TextFile::Flush() {
  if (!state_) {
    SetLastError(kErrorInvalidHandle);
    return false;
  }
  return state_->mode == TextMode::kRead || state_->Put(state_->buffer.size());
}

bool TextFile::Close() {
  if (!state_) return true;
  const bool flushed = Flush();
  const bool closed = state_->file.Close();
  state_.reset();
  return flushed && closed;
}

bool TextFile::Failed() const { return state_ && state_->failed; }

}  // namespace corvane::platform
