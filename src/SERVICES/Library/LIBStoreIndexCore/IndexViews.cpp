// Views of an index and its counts.
#include <algorithm>

#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"
#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"
#include "connector/logs/ExceptionReport.h"

namespace corvane {
namespace {

constexpr std::uint32_t kLastBeforeStar = 0xFFFFFFFE;

PropertyId FlagsId() {
  static const PropertyId id = FindProperty(nullptr, kFlagStatus);
  return id;
}

bool HoldsFlag(std::string_view flags, std::string_view flag) {
  return PositionNoCase(flags, flag) != std::string_view::npos;
}

}  // namespace

void SORTEDSTOREINDEXTYPE::GetAllItems(ItemList* list, bool clone) {
  list->Begin(clone);
  if (!EnsureLoaded(kAllProperties)) return;
  for (IndexItemPropertyContainer* item : ByID.InOrder()) list->Add(item);
}

void SORTEDSTOREINDEXTYPE::GetItemsByUID(ItemList* list, std::uint32_t* first, std::uint32_t last,
                                         bool clone, const std::vector<std::string>* fields) {
  list->Begin(clone);
  if (!EnsureLoaded(kAllProperties) || ByUID.empty()) return;
  auto entry = ByUID.begin();
  if (*first != kUidStar) {
    entry = ByUID.lower_bound(*first);
    const bool found = entry != ByUID.end() && entry->first == *first;
    if (!found && *first == last) return;
    if (entry == ByUID.end()) {
      if (last < kLastBeforeStar) return;
      entry = std::prev(ByUID.end());
      *first = entry->first;
    } else if (!found && entry->first > last) {
      return;
    }
  }
  for (; entry != ByUID.end() && (last == kUidStar || entry->first <= last); ++entry) {
    list->Add(entry->second, fields);
  }
}

void SORTEDSTOREINDEXTYPE::GetItemsBySequence(ItemList* list, std::int64_t first, std::int64_t last,
                                              bool clone) {
  list->Begin(clone);
  if (!EnsureLoaded(kAllProperties)) return;
  const auto count = static_cast<std::int64_t>(Sequence.size());
  const bool firstLies = first >= 0 && first < count;
  if (count == 0 || (first == last && !firstLies)) return;
  if (!firstLies) first = 0;
  if (last < 0 || last >= count) last = count - 1;
  for (std::int64_t at = first; at <= last; ++at) list->Add(Sequence[static_cast<std::size_t>(at)]);
}

bool SORTEDSTOREINDEXTYPE::GetFolderDetails(FolderDetails* details) {
  bool counted = false;
  static_cast<void>(EndException(
      [&] {
        if (!EnsureLoaded(kAllProperties)) return;
        *details = {};
        details->LastUID = LastUID;
        for (const auto& [uid, item] : ByUID) {
          ++details->TotalCount;
          const std::string_view flags = item->TextView(FlagsId());
          if (HoldsFlag(flags, "\\DELETED")) ++details->DeletedCount;
          if (HoldsFlag(flags, "\\ANSWERED")) ++details->AnsweredCount;
          if (HoldsFlag(flags, "\\FLAGGED")) ++details->FlaggedCount;
          if (HoldsFlag(flags, "\\RECENT")) ++details->RecentCount;
          if (!HoldsFlag(flags, kFlagSeen)) continue;
          ++details->SeenCount;
          if (details->FirstSeenPosition == 0) details->FirstSeenPosition = details->TotalCount;
        }
        counted = true;
      },
      [](const ExceptionDetails& failure) {
        ReportException(
            FormatExceptionReport("SORTEDSTOREINDEXTYPE::GetFolderDetails", CV_HERE, failure));
      }));
  return counted;
}

std::uint32_t SORTEDSTOREINDEXTYPE::CountLeadingUnseen() {
  if (!EnsureLoaded(kAllProperties)) return 0;
  const auto seen = std::find_if(ByUID.begin(), ByUID.end(), [](const auto& entry) {
    return HoldsFlag(entry.second->TextView(FlagsId()), kFlagSeen) ||
           entry.second->GetNumber(kPropertyREAD) == 1;
  });
  return static_cast<std::uint32_t>(std::distance(ByUID.begin(), seen));
}

}  // namespace corvane
