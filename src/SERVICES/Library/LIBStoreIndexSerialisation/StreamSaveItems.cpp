// The items of a save: where it begins, what lies between them, and the writing.
#include <algorithm>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexReports.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamSave.h"
#include "connector/logs/Logs.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"

namespace corvane {
namespace {

using indexformat::kElementEnd;
using indexformat::kElementStart;

constexpr std::uint64_t kLeastSoundGap = 11;

std::string IdOf(const IndexItemPropertyContainer& item) { return item.GetText(kPropertyID); }

std::string UidOf(const IndexItemPropertyContainer& item) { return item.GetText(kPropertyUID); }

PropertyId PropertyRECEIVED() {
  static const PropertyId id = FindProperty(nullptr, "RECEIVED");
  return id;
}

}  // namespace

bool StreamSave::HeaderIsInPlace() {
  const std::string header = stream_->ReadAt(0, indexformat::kHeaderSize);
  return header.compare(0, indexformat::kLastUidAt, indexformat::kHeaderStart) == 0 &&
         header.compare(indexformat::kLastUidAt + indexformat::kLastUidDigits, std::string::npos,
                        indexformat::kHeaderEnd) == 0;
}

bool StreamSave::RemovedAreInPlace() {
  return std::all_of(index_->Removed.begin(), index_->Removed.end(), [this](const Item* item) {
    if (item->GetOffset() == 0) return true;
    const std::string head = indexformat::ElementHead(IdOf(*item), UidOf(*item));
    return stream_->ReadAt(item->GetOffset(), head.size()) == head;
  });
}

void StreamSave::BlankRemoved() {
  for (const Item* item : index_->Removed) {
    if (item->GetOffset() == 0) continue;
    stream_->Seek(item->GetOffset());
    stream_->Write(indexformat::TombstoneHead(IdOf(*item), UidOf(*item)));
  }
}

StreamSave::Start StreamSave::FindStart() {
  const auto first = index_->ByUID.find(index_->FirstModifiedUID);
  if (first == index_->ByUID.end()) return {};
  Item* item = first->second;
  if (item->GetOffset() != 0) {
    FillPositionsBefore(item);
    return {item, item->GetOffset(), false};
  }
  if (positions_) positions_->Disable();
  // A new item in front of others takes the place of the first of them.
  const auto behind = std::find_if(
      first, index_->ByUID.end(), [](const auto& entry) { return entry.second->GetOffset() != 0; });
  if (behind != index_->ByUID.end()) return {item, behind->second->GetOffset(), false};
  return {item, trailer_, true};
}

// An end of 0 stands for no gap.
std::uint64_t StreamSave::GapEnd(const Item& item, const Item* next, bool isNew) const {
  if (!index_->IsPartial() || isNew || item.GetOffset() == 0) return 0;
  return next != nullptr && next->GetOffset() > 0 ? next->GetOffset() : trailer_;
}

bool StreamSave::Measure(const Start& start, std::uint64_t* newEnd) {
  // What only goes behind the old elements needs no look and can be taken back.
  if (!index_->IsPartial() && start.isNew) return true;
  std::uint64_t position = start.position;
  auto entry = index_->ByUID.find(index_->FirstModifiedUID);
  for (; entry != index_->ByUID.end(); ++entry) {
    const Item& item = *entry->second;
    const auto following = std::next(entry);
    const Item* next = following == index_->ByUID.end() ? nullptr : following->second;
    const bool isNew = item.GetOffset() == 0;
    // A new item whose UID isn't the highest would stand out of order behind the others.
    if (index_->IsPartial() && isNew && next != nullptr && next->GetOffset() != 0) return false;
    const std::uint64_t gapBegin = item.GetOffset() + item.GetLength();
    const std::uint64_t gapEnd = GapEnd(item, next, isNew);
    const std::uint64_t gap = gapEnd > gapBegin ? gapEnd - gapBegin : 0;
    const std::uint64_t size = elements_->Write(item).size();
    if (gap > 0) {
      // What is copied along must be read before it is written over.
      if (position > gapBegin || GrowsOverNext(item, next, size)) return false;
      if (gap >= kLeastSoundGap && !GapIsSound(item, next, gapEnd)) return false;
    }
    position += size + gap;
  }
  *newEnd = position + indexformat::kTrailer.size();
  return true;
}

bool StreamSave::GrowsOverNext(const Item& item, const Item* next, std::uint64_t size) {
  const std::uint64_t limit = next == nullptr ? 0 : next->GetLength();
  if (limit == 0 || size <= item.GetLength() + limit) return false;
  ReportIndex("Corrupting index " + path_ + ". Item size for " + IdOf(item) +
              " has grown so much that the gap will overflow the next item.");
  return true;
}

bool StreamSave::GapIsSound(const Item& item, const Item* next, std::uint64_t gapEnd) {
  const std::string corrupting = "Corrupting index " + path_;
  const std::uint64_t gapBegin = item.GetOffset() + item.GetLength();
  if (stream_->ReadAt(gapBegin, kElementStart.size()) != kElementStart) {
    ReportIndex(corrupting + ". Gap after " + IdOf(item) +
                " does not start at the start of an element.");
    return false;
  }
  if (stream_->ReadAt(gapEnd - kElementEnd.size(), kElementEnd.size()) != kElementEnd) {
    ReportIndex(corrupting + ". Gap " +
                (next != nullptr ? "before " + IdOf(*next) : "after " + IdOf(item)) +
                " does not end at the end of an element.");
    return false;
  }
  return true;
}

void StreamSave::WriteItems(const Start& start) {
  std::uint64_t position = start.position;
  std::uint32_t lastUid = 0;
  auto entry = start.item == nullptr ? index_->ByUID.end() : index_->ByUID.begin();
  if (start.item != nullptr && stream_->InPlace()) {
    entry = index_->ByUID.find(index_->FirstModifiedUID);
  }
  for (; entry != index_->ByUID.end(); ++entry) {
    Item* item = entry->second;
    const std::uint32_t uid = item->GetNumber(kPropertyUID);
    if (uid <= lastUid) {
      LogAndReportIndex("Serialisation Issue: UID incorrectly ordered at " + std::to_string(uid) +
                        ".\n");
    }
    lastUid = uid;
    const auto following = std::next(entry);
    if (!WriteItemAndGap(&position, item,
                         following == index_->ByUID.end() ? nullptr : following->second,
                         item->GetOffset() == 0)) {
      return;
    }
  }
  if (stream_->InPlace()) stream_->Seek(position);
  stream_->Write(indexformat::kTrailer);
}

// False, with nothing written, when the stream has failed: what stands behind is left alone.
bool StreamSave::WriteItemAndGap(std::uint64_t* position, Item* item, const Item* nextItem,
                                 bool itemIsNew) {
  std::string gap;
  if (stream_->InPlace()) {
    const std::uint64_t gapBegin = item->GetOffset() + item->GetLength();
    const std::uint64_t gapEnd = GapEnd(*item, nextItem, itemIsNew);
    if (gapEnd > gapBegin) gap = stream_->ReadAt(gapBegin, gapEnd - gapBegin);
    stream_->Seek(*position);
  }
  if (stream_->Failed()) {
    ReportIndex("Info: Insertion attempt at position: " + std::to_string(*position) +
                " with stream length: " + std::to_string(stream_->OldSize()) + ". File " + path_ +
                ". Pointer will be positioned at end of file to allow diagnosis. Check .bad "
                "file.\n");
    return false;
  }
  if (itemIsNew) added_.push_back(item);
  const std::string& element = elements_->Write(*item);
  item->SetOffset(*position);
  item->SetLength(static_cast<std::uint32_t>(element.size()));
  stream_->Write(element);
  *position += element.size();
  NotePosition(*item);
  stream_->Write(gap);
  *position += gap.size();
  return true;
}

void StreamSave::NotePosition(const Item& item) {
  if (!positions_) return;
  const std::uint32_t number =
      item.GetNumber(item.Has(PropertySEQ()) ? PropertySEQ() : PropertyIDX());
  const std::uint64_t received =
      messageClass_ == kClassMail ? FileTimeOfDate(item.TextView(PropertyRECEIVED())) : 0;
  positions_->Set(number, {static_cast<std::uint32_t>(item.GetOffset()),
                           item.GetNumber(kPropertyUID), received});
}

void StreamSave::FillPositionsBefore(const Item* start) {
  if (!positions_) return;
  for (const auto& [uid, item] : index_->ByUID) {
    if (item == start) break;
    NotePosition(*item);
  }
}

bool StreamSave::CutFile(std::uint64_t newEnd) {
  if (file_.Seek(newEnd) && file_.SetEndOfFile()) return true;
  LogAndReportIndex("Failed to truncate index: " + path_ +
                    ". A file error occurred when opening file (" +
                    std::to_string(platform::LastError()) + ").\n");
  return false;
}

// The disk had no room for what was to stand behind the old elements: the end is put back as it
// was.
void StreamSave::TakeBackAppended(const Start& start, const std::string& oldTail) {
  for (Item* item : added_) item->SetOffset(0);
  if (file_.Seek(start.position) && file_.Write(oldTail) && file_.SetEndOfFile()) return;
  LogAndReportIndex("Failed to serialise index: " + path_ + ". Its end could not be put back.\n");
}

}  // namespace corvane
