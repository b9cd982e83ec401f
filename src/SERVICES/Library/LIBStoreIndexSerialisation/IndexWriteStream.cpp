#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexWriteStream.h"

#include <algorithm>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexReports.h"

namespace corvane {
namespace {

constexpr std::uint64_t kTrailerSearch = 31;

}  // namespace

void IndexWriteStream::Check(bool worked, const char* function, int line) {
  if (worked) return;
  ReportIndex("Warning. Read/write error on index file (" + std::string(failed_ ? "bad" : "fail") +
              "). Function: " + function + ", Module Line: " + std::to_string(line));
  failed_ = true;
}

void IndexWriteStream::Seek(std::uint64_t position) {
  if (position == Position()) return;
  Flush();
  position_ = position;
  Check(file_->Seek(position), "Seek", __LINE__);
}

std::string IndexWriteStream::ReadAt(std::uint64_t position, std::uint64_t size) {
  Seek(position);
  Flush();
  std::string bytes(size, '\0');
  std::uint64_t have = 0;
  bool worked = file_->Seek(position);
  while (worked && have < size) {
    const std::int64_t got = file_->Read(bytes.data() + have, size - have);
    worked = got > 0;
    if (worked) have += static_cast<std::uint64_t>(got);
  }
  bytes.resize(have);
  Check(worked, "ReadAt", __LINE__);
  position_ = position + have;
  return bytes;
}

void IndexWriteStream::Write(std::string_view bytes) {
  if (buffer_.size() + bytes.size() > bufferSize_) Flush();
  if (bytes.size() >= bufferSize_) {
    WriteThrough(bytes);
  } else {
    buffer_ += bytes;
  }
}

void IndexWriteStream::Flush() {
  if (buffer_.empty()) return;
  WriteThrough(buffer_);
  buffer_.clear();
}

void IndexWriteStream::WriteThrough(std::string_view bytes) {
  const bool worked = file_ != nullptr ? file_->Write(bytes) : whole_->Write(bytes);
  Check(worked, "Write", __LINE__);
  position_ += bytes.size();
}

std::uint64_t TrailerOffset(IndexWriteStream* stream) {
  const std::uint64_t size = stream->OldSize();
  if (size <= indexformat::kTrailer.size()) return 0;
  const std::uint64_t from = size - std::min(size, kTrailerSearch);
  const std::string end = stream->ReadAt(from, size - from);
  const std::size_t at = end.rfind(indexformat::kTrailerTag);
  return at == std::string::npos ? size : from + at;
}

}  // namespace corvane
