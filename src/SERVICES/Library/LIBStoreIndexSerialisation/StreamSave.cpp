#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamSave.h"

#include <cinttypes>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexReports.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/RewriteDurability.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Format.h"
#include "platform/Thread.h"

namespace corvane {
namespace {

constexpr std::int64_t kNanosecondsInSecond = 1'000'000'000;
constexpr const char* kRewriteFollows =
    ". Cached offset information is now inaccurate. Index will be rewritten in full.\n";

std::string TimeText(std::int64_t nanoseconds) {
  return platform::FormatTime(platform::ToLocalTime(nanoseconds / kNanosecondsInSecond),
                              "%Y-%m-%d %H:%M:%S");
}

}  // namespace

StreamSave::StreamSave(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                       std::int32_t messageClass)
    : index_(index),
      folder_(folder),
      messageClass_(messageClass),
      path_(IndexFilePath(folder, messageClass)) {}

std::int32_t StreamSave::Run() {
  const std::int64_t started = platform::CurrentClock().Monotonic();
  if (!CheckFile()) return 0;
  TellParameters();
  if (NothingChanged()) return 1;
  if (!platform::DirectoryExists(folder_)) {
    LogAndReportIndex("Failed to serialise index: " + path_ +
                      ". The folder does not exist, so the index file could not be written.\n");
    return 0;
  }
  if (!CompleteIfNeeded()) return 0;
  const std::uint32_t from = index_->FirstModifiedUID;
  std::int32_t result = fileExists_ && !index_->FullRewrite ? SaveInPlace() : -1;
  if (result < 0) result = SaveWhole();
  if (positions_) {
    if (result != 1) positions_->Disable();  // elements may have moved all the same
    positions_->Finish();
  }
  LogSave(started, from);
  return result;
}

bool StreamSave::CheckFile() {
  const auto info = platform::GetFileInfo(path_);
  fileExists_ = info.has_value();
  if (!fileExists_) {
    if (index_->IsPartial()) return false;
    index_->MarkFullRewrite();
    return true;
  }
  if (!index_->FileInSync) {
    index_->MarkFullRewrite();
    return true;
  }
  const std::int64_t time = WriteTimeOf(*info);
  if (time == index_->FileTime && info->size == index_->FileSize) return true;
  if (index_->IsPartial()) {
    ReportIndex("Index file modified since load (" + path_ +
                "). Index was not fully loaded: aborting save.");
    return false;
  }
  TellOfChanges(time, info->size);
  index_->MarkFullRewrite();
  return true;
}

void StreamSave::TellOfChanges(std::int64_t timeNow, std::uint64_t sizeNow) {
  if (sizeNow != index_->FileSize) {
    LogDebug("Index file size has changed from " + std::to_string(index_->FileSize) +
             " (cached) to " + std::to_string(sizeNow) + " (on disk); LastUID (cached) = " +
             std::to_string(index_->LastUID) + " : " + path_ + kRewriteFollows);
  }
  if (timeNow != index_->FileTime) {
    LogDebug("Index file date has changed from " + TimeText(index_->FileTime) + " to " +
             TimeText(timeNow) + ": " + path_ + kRewriteFollows);
  }
}

void StreamSave::TellParameters() {
  if (settings::Get(settings::kDebugIndexSaves) == 0) return;
  LogAndReportIndex(
      platform::FormatText("SerialiseHook:: Folder: %s. Params: FullRewriteRequired =%d, "
                           "Index->FirstModifiedUID=%" PRIu32 ", LoadState = %d, IsFiltered = %d, "
                           "IsFieldFiltered = 0.\n",
                           folder_.c_str(), index_->FullRewrite ? 1 : 0, index_->FirstModifiedUID,
                           static_cast<int>(index_->LoadState), index_->IsFiltered() ? 1 : 0));
}

bool StreamSave::NothingChanged() const {
  const bool unchanged = index_->FirstModifiedUID == 0 && index_->Removed.empty();
  // A partly loaded index has nothing to rewrite the file with, and no reason to.
  return unchanged && (!index_->FullRewrite || (fileExists_ && index_->IsPartial()));
}

bool StreamSave::WouldWriteUnknown() const {
  if (index_->FullRewrite) return true;
  if (index_->FirstModifiedUID == 0) return false;
  const auto first = index_->ByUID.find(index_->FirstModifiedUID);
  if (first == index_->ByUID.end()) return true;
  if (index_->LoadState == kHeaderOnly) return index_->FirstModifiedUID <= index_->FileLastUID;
  // An element read by its keys alone can't be written.
  return index_->LoadState == kKeys && first->second->GetOffset() != 0;
}

bool StreamSave::CompleteIfNeeded() {
  return !fileExists_ || !index_->IsPartial() || !WouldWriteUnknown() || Complete();
}

bool StreamSave::Complete() {
  if (index_->CompleteFromFile(folder_, messageClass_)) return true;
  LogAndReportIndex("Failed to serialise index: " + path_ +
                    ". The rest of the index could not be read, so nothing was written.\n");
  return false;
}

platform::File StreamSave::OpenFile() {
  auto file =
      OpenIndexFile(path_, platform::Access::kReadWrite, platform::kShareNone, false, nullptr);
  if (file) return file;
  LogAndReportIndex("Failed to serialise index: " + path_ +
                    ". A File Access error occurred when opening the file (was retried for 40 "
                    "seconds). No data can be written.\n");
  return {};
}

bool StreamSave::OpenInPlace() {
  file_ = OpenFile();
  const auto info = file_ ? file_.Info() : std::nullopt;
  if (!info) return false;
  stream_.emplace(&file_, info->size, settings::Get(settings::kIndexWriteCacheSize));
  trailer_ = TrailerOffset(&*stream_);
  elements_.emplace(messageClass_);
  if (settings::Get(settings::kOffsetIndex) != 0) {
    positions_.emplace(PositionFilePath(folder_, messageClass_), index_->ItemCount());
    if (index_->IsFiltered() || index_->FirstModifiedUID == 0) positions_->Disable();
  }
  return true;
}

// -1 when the whole file can be written instead.
std::int32_t StreamSave::GiveUpInPlace() {
  stream_.reset();
  positions_.reset();
  file_ = {};
  if (index_->IsPartial() && !Complete()) return 0;
  index_->MarkFullRewrite();
  return -1;
}

// Old elements are written over only when the new ones have room: on a full disk the file stays as
// it is. What goes behind the old elements can be taken back.
bool StreamSave::ReserveRoom(std::uint64_t end) {
  if (end <= stream_->OldSize() || file_.Reserve(end)) return true;
  LogAndReportIndex("Failed to serialise index: " + path_ + ". There is no room for it (" +
                    platform::ErrorText(platform::LastError()) + "); nothing was written.\n");
  return false;
}

bool StreamSave::FinishInPlace(std::uint64_t newEnd) {
  if (newEnd != 0 && newEnd < stream_->OldSize() && !CutFile(newEnd)) return false;
  if (RewriteDurability() == platform::Durability::kNone || file_.Flush()) return true;
  LogAndReportIndex("Failed to serialise index: " + path_ + ". It could not be made durable (" +
                    platform::ErrorText(platform::LastError()) + ").\n");
  return false;
}

// 1, 0, or -1 with nothing written: the whole file has to be written.
std::int32_t StreamSave::SaveInPlace() {
  if (!OpenInPlace()) return 0;
  const bool writes = index_->FirstModifiedUID != 0;
  const Start start = writes ? FindStart() : Start{};
  // Behind a file that was cut short nothing may be added.
  const bool hasEnd = !start.isNew || trailer_ != stream_->OldSize();
  std::uint64_t end = 0;
  const bool sound = HeaderIsInPlace() && RemovedAreInPlace() &&
                     (!writes || (start.item != nullptr && hasEnd && Measure(start, &end)));
  if (!sound) return GiveUpInPlace();
  const std::string oldTail =
      start.isNew ? stream_->ReadAt(start.position, stream_->OldSize() - start.position) : "";
  if (stream_->Failed() || (!start.isNew && !ReserveRoom(end))) return 0;
  stream_->Seek(indexformat::kLastUidAt);
  stream_->Write(indexformat::LastUidDigits(index_->LastUID));
  BlankRemoved();
  std::uint64_t newEnd = 0;
  if (writes) {
    index_->FileInSync = false;
    WriteItems(start);
    newEnd = stream_->Position();
  }
  stream_->Flush();
  const bool failed = stream_->Failed();
  if (failed && start.isNew) TakeBackAppended(start, oldTail);
  if (failed || !FinishInPlace(newEnd)) return 0;
  file_ = {};
  return 1;
}

bool StreamSave::WriteWhole(platform::WholeFile* whole) {
  stream_.emplace(whole, settings::Get(settings::kIndexWriteCacheSize));
  elements_.emplace(messageClass_);
  index_->FileInSync = false;
  if (settings::Get(settings::kOffsetIndex) != 0) {
    positions_.emplace(PositionFilePath(folder_, messageClass_), index_->ItemCount());
  }
  stream_->Write(indexformat::Header(index_->LastUID));
  Item* first = index_->ByUID.empty() ? nullptr : index_->ByUID.begin()->second;
  WriteItems({first, indexformat::kHeaderSize, false});
  stream_->Flush();
  return !stream_->Failed();
}

std::int32_t StreamSave::SaveWhole() {
  // Whoever has the old file open is waited for, and kept off until the new one stands.
  if (fileExists_) {
    file_ = OpenFile();
    if (!file_) return 0;
  }
  auto whole = platform::WholeFile::Create(path_);
  bool placed = whole && WriteWhole(&whole);
  if (placed && fileExists_) {
    placed = whole.CommitOver(file_, platform::kShareAll, RewriteDurability()).IsOpen();
  } else if (placed) {
    placed = whole.Commit(true, RewriteDurability());
  }
  const std::int32_t error = platform::LastError();
  file_ = {};
  if (placed) return 1;
  LogAndReportIndex("Failed to serialise index: " + path_ +
                    ". The new file could not be written (" + platform::ErrorText(error) + ")" +
                    (fileExists_ ? "; the old one stands.\n" : ".\n"));
  return 0;
}

void StreamSave::LogSave(std::int64_t started, std::uint32_t from) const {
  const auto info = platform::GetFileInfo(path_);
  const std::int64_t time = info ? WriteTimeOf(*info) : 0;
  LogDebugF("[Thread:%ld]StreamXMLStoreIndexSerialiser::SerialiseHook Date: %s Size: %" PRIu64
            " Rewrite: %d From: %" PRIu32 " Elapse: %ld, Item: %s, Count: %zu\n",
            static_cast<long>(platform::CurrentThreadId()), TimeText(time).c_str(),
            info ? info->size : 0, index_->FullRewrite ? 1 : 0, from,
            static_cast<long>(platform::CurrentClock().Monotonic() - started), path_.c_str(),
            index_->ItemCount());
}

}  // namespace corvane
