// StreamSave.h -- one save of an index as a stream.
//
// In place as long as the file is what was read and what is in memory tells how it goes on:
// LASTUID's digits are written over, removed elements are blanked, and from the first changed item
// on everything is written anew; what isn't in memory is copied along. Otherwise the whole file is
// written as a new one that takes the old one's place. A partly loaded index that needs that is
// completed from the file first, so that nothing is dropped.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/ElementWriter.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexWriteStream.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/PositionIndex.h"

namespace corvane {

class StreamSave {
 public:
  StreamSave(SORTEDSTOREINDEXTYPE* index, const std::string& folder, std::int32_t messageClass);

  // 1 written or nothing to write, 0 not.
  std::int32_t Run();

 private:
  using Item = IndexItemPropertyContainer;

  // Whether the save may go on after a look at the file; settles FullRewrite.
  bool CheckFile();
  void TellOfChanges(std::int64_t timeNow, std::uint64_t sizeNow);
  void TellParameters();
  [[nodiscard]] bool NothingChanged() const;
  // Reads the rest of the file where the save has to write what isn't in memory.
  bool CompleteIfNeeded();
  [[nodiscard]] bool WouldWriteUnknown() const;
  bool Complete();

  std::int32_t SaveInPlace();
  bool OpenInPlace();
  std::int32_t GiveUpInPlace();
  bool ReserveRoom(std::uint64_t end);
  bool FinishInPlace(std::uint64_t newEnd);
  std::int32_t SaveWhole();
  bool WriteWhole(platform::WholeFile* whole);
  platform::File OpenFile();

  // StreamSaveItems.cpp
  struct Start {
    Item* item = nullptr;  // the first to be written
    std::uint64_t position = 0;
    bool isNew = false;
  };
  void BlankRemoved();
  // Whether what is to be written over stands where it should.
  [[nodiscard]] bool HeaderIsInPlace();
  [[nodiscard]] bool RemovedAreInPlace();
  [[nodiscard]] Start FindStart();
  // Goes through what would be written, before anything is; `newEnd` is where it would end. False
  // when what has to be copied along couldn't be.
  [[nodiscard]] bool Measure(const Start& start, std::uint64_t* newEnd);
  // False, after a report where the gap has lost its elements.
  [[nodiscard]] bool GapIsSound(const Item& item, const Item* next, std::uint64_t gapEnd);
  [[nodiscard]] bool GrowsOverNext(const Item& item, const Item* next, std::uint64_t size);
  [[nodiscard]] std::uint64_t GapEnd(const Item& item, const Item* next, bool isNew) const;
  void WriteItems(const Start& start);
  bool WriteItemAndGap(std::uint64_t* position, Item* item, const Item* nextItem, bool itemIsNew);
  void NotePosition(const Item& item);
  void FillPositionsBefore(const Item* start);
  bool CutFile(std::uint64_t newEnd);
  void TakeBackAppended(const Start& start, const std::string& oldTail);
  void LogSave(std::int64_t started, std::uint32_t from) const;

  SORTEDSTOREINDEXTYPE* index_;
  const std::string folder_;
  const std::int32_t messageClass_;
  const std::string path_;
  bool fileExists_ = false;
  std::optional<ElementWriter> elements_;
  std::optional<PositionIndex> positions_;
  platform::File file_;
  std::optional<IndexWriteStream> stream_;
  std::uint64_t trailer_ = 0;
  std::vector<Item*> added_;  // written for the first time
};

}  // namespace corvane
