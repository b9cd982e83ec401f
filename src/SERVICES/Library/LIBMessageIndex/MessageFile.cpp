#include "SERVICES/Library/LIBMessageIndex/MessageFile.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "message/Ascii.h"
#include "message/LineEnds.h"

namespace corvane {
namespace {

// Holds the headers of nearly every message, and many messages whole.
constexpr std::size_t kFirstReadBytes = 16384;

}  // namespace

HeaderExtent FindHeaderExtent(std::string_view text) {
  for (std::size_t at = FindByte(text, '\n'); at != text.npos; at = FindByte(text, '\n', at + 1)) {
    const std::string_view next = text.substr(at + 1, 2);
    if (!next.starts_with('\n') && next != "\r\n") continue;
    const bool crBefore = at > 0 && text[at - 1] == '\r';
    return {crBefore ? at - 1 : at, at + 1, true, crBefore && next == "\r\n"};
  }
  return {text.size(), text.size(), false, false};
}

std::optional<MessageFile> MessageFile::Open(std::string_view path) {
  MessageFile message;
  message.file_ = platform::File::Open(path, platform::Access::kRead, platform::kShareAll,
                                       platform::Disposition::kOpenExisting);
  if (!message.file_) return std::nullopt;
  const auto info = message.file_.Info();
  if (!info) return std::nullopt;
  message.info_ = *info;
  if (!message.ReadHeaders()) return std::nullopt;
  return message;
}

bool MessageFile::ReadHeaders() {
  do {
    // Twice as much each time keeps the repeated search linear.
    if (!ReadMore(std::max(text_.size(), kFirstReadBytes))) return false;
    extent_ = FindHeaderExtent(text_);
  } while (!extent_.closed && !atEnd_);
  return true;
}

bool MessageFile::ReadMore(std::size_t most) {
  std::size_t filled = text_.size();
  // A byte more than the file had shows its end.
  const std::size_t expected =
      info_.size > filled ? static_cast<std::size_t>(info_.size) - filled + 1 : kFirstReadBytes;
  text_.resize(filled + std::min(most, expected));
  while (filled < text_.size() && !atEnd_) {
    const std::int64_t got = file_.Read(&text_[filled], text_.size() - filled);
    if (got < 0) return false;
    filled += static_cast<std::size_t>(got);
    atEnd_ = got == 0;
  }
  text_.resize(filled);
  return true;
}

bool MessageFile::TakeWhole(std::string& message) {
  while (!atEnd_) {
    if (!ReadMore(SIZE_MAX)) return false;
  }
  message = std::move(text_);
  if (extent_.closed && !extent_.crLf) message = WithCrLf(message);
  return true;
}

}  // namespace corvane
