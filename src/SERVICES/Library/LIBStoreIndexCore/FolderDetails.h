// FolderDetails.h -- cached counts of a folder; the whole of _FOLDER.DAT. 13 little-endian words.
//
//   word  field               content
//      1  DeletedCount        items with \DELETED
//      3  AnsweredCount       items with \ANSWERED
//      4  FlaggedCount        items with \FLAGGED
//      5  FirstSeenPosition   position, in UID order from 1, of the first item with \SEEN; 0 none
//      6  TotalCount          items in the index
//      7  SeenCount           items with \SEEN
//      8  RecentCount         items with \RECENT
//     11  LastUID             the index's LastUID
//
// The other words are 0.
#pragma once

#include <cstdint>
#include <type_traits>

namespace corvane {

struct FolderDetails {
  std::uint32_t Reserved0 = 0;
  std::uint32_t DeletedCount = 0;
  std::uint32_t Reserved2 = 0;
  std::uint32_t AnsweredCount = 0;
  std::uint32_t FlaggedCount = 0;
  std::uint32_t FirstSeenPosition = 0;
  std::uint32_t TotalCount = 0;
  std::uint32_t SeenCount = 0;
  std::uint32_t RecentCount = 0;
  std::uint32_t Reserved9 = 0;
  std::uint32_t Reserved10 = 0;
  std::uint32_t LastUID = 0;
  std::uint32_t Reserved12 = 0;
};
static_assert(sizeof(FolderDetails) == 52 && std::is_trivially_copyable_v<FolderDetails>);

}  // namespace corvane
