// PositionIndex.h -- the offset cache beside an index, _index.bin: where the Nth element lies.
//
//   bytes    content
//   0..3     1, unsigned 32-bit little-endian
//   4..23    zero
//   24..     a record an item, in the folder's order: Offset and UID, unsigned 32-bit, and
//            Received, 64-bit, the RECEIVED date as 100 ns since 1601 (0 without one)
//
// Written for other programs; nothing here reads it. A cache that isn't true any more is deleted.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

struct PositionRecord {
  std::uint32_t Offset = 0;
  std::uint32_t UID = 0;
  std::uint64_t Received = 0;
};
static_assert(sizeof(PositionRecord) == 16);

class PositionIndex {
 public:
  PositionIndex(std::string path, std::size_t records)
      : path_(std::move(path)), records_(records) {}

  // Nothing to be kept; Finish deletes the file.
  void Disable() { enabled_ = false; }
  // Notes record `number`, from 1. A number that isn't one is told to the debugger channel.
  void Set(std::uint32_t number, const PositionRecord& record);
  void Finish() const;

 private:
  std::string path_;
  std::vector<PositionRecord> records_;
  bool enabled_ = true;
};

// "YYYY-MM-DDThh:mm:ss" as 100 ns since 1601; 0 for anything else.
[[nodiscard]] std::uint64_t FileTimeOfDate(std::string_view date);

}  // namespace corvane
