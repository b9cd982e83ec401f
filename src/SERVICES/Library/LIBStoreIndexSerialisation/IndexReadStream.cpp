#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexReadStream.h"

#include <algorithm>
#include <cstring>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"

namespace corvane {
namespace {

constexpr std::size_t kSmallestBlock = 8192;
constexpr std::size_t kNowhere = SIZE_MAX;
constexpr std::size_t kShortPiece = 40;

}  // namespace

IndexReadStream::IndexReadStream(platform::File* file, std::size_t blockSize)
    : file_(file), buffer_(std::max(blockSize, kSmallestBlock)) {}

bool IndexReadStream::Fill() {
  if (atEnd_) return false;
  if (begin_ > 0) {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    base_ += begin_;
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ == buffer_.size()) buffer_.resize(buffer_.size() * 2);
  const std::int64_t got = file_->Read(buffer_.data() + end_, buffer_.size() - end_);
  if (got <= 0) {
    atEnd_ = true;
    failed_ = got < 0;
    return false;
  }
  end_ += static_cast<std::size_t>(got);
  return true;
}

std::size_t IndexReadStream::FindByte(char c, std::size_t from, std::size_t limit) {
  for (std::size_t seen = from;;) {
    const std::size_t there = std::min(end_ - begin_, limit);
    if (seen < there) {
      const char* start = buffer_.data() + begin_;
      if (const void* found = std::memchr(start + seen, c, there - seen)) {
        return static_cast<std::size_t>(static_cast<const char*>(found) - start);
      }
      seen = there;
    }
    if (seen >= limit) return limit;
    if (!Fill()) return kNowhere;
  }
}

// Most tags are names of a few bytes that lie in the buffer already, behind a short text.
bool IndexReadStream::NextShort(Piece* piece) {
  const char* const begin = buffer_.data() + begin_;
  const char* const end = begin + std::min(end_ - begin_, kShortPiece);
  const char* open = begin;
  while (open < end && *open != '<') ++open;
  const char* close = open;
  while (close < end && *close != '>') ++close;
  if (close == end) return false;
  const auto at = static_cast<std::size_t>(open - begin);
  piece->text = {begin, at};
  piece->tag = {open + 1, static_cast<std::size_t>(close - open) - 1};
  piece->tagOffset = Consumed() + at;
  begin_ += static_cast<std::size_t>(close - begin) + 1;
  return true;
}

bool IndexReadStream::Next(Piece* piece) {
  if (NextShort(piece)) return true;
  const std::size_t open = FindByte('<', 0, kNowhere);
  if (open == kNowhere) return false;
  const std::size_t tagBegin = open + 1;
  const std::size_t close = FindByte('>', tagBegin, tagBegin + indexformat::kLongestTag);
  if (close == kNowhere) return false;
  const char* start = buffer_.data() + begin_;
  piece->text = {start, open};
  piece->tag = {start + tagBegin, close - tagBegin};
  piece->tagOffset = Consumed() + open;
  const bool cut = close == tagBegin + indexformat::kLongestTag;
  begin_ += cut ? close : close + 1;
  return true;
}

}  // namespace corvane
