// StreamIndexParser.h -- reads the elements of an index file into an index.
//
// One pass over text and tags in turn. The first thing that the format doesn't allow is worded and
// makes the file malformed; the pass goes on to its end. Memory is that of the items and of the
// longest text. One thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/FolderNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexKeySet.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexReadStream.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexScan.h"
#include "SERVICES/Library/LIBStoreIndexType/ItemValues.h"

namespace corvane {

enum class ParseResult : std::int32_t {
  kMalformed = 0,  // the file breaks the format
  kGood = 1,
  kStartAgain = 2,
  kUnreadable = 3,  // the file itself couldn't be read to its end, and may be good
};

class StreamIndexParser {
 public:
  StreamIndexParser(SORTEDSTOREINDEXTYPE* index, platform::File* file, std::string folder,
                    const IndexRead& read, IndexKeySet* keys);

  // kStartAgain: so many tombstones, or so old a form, that the file is to be read whole; the index
  // is empty then.
  [[nodiscard]] ParseResult Parse();
  // The first thing that was wrong, or empty.
  [[nodiscard]] const std::string& Message() const { return message_; }
  [[nodiscard]] std::uint32_t Tombstones() const { return tombstones_; }
  [[nodiscard]] bool IsNewForm() const { return newForm_; }
  // Elements that became items or were refused: as ones that stand twice, or for their IDs.
  [[nodiscard]] std::uint32_t Elements() const { return idx_ - 1; }

 private:
  struct Attribute {
    std::string_view name;
    std::string_view value;
  };

  void Fail(const std::string& message);
  void HandleTag(const IndexReadStream::Piece& piece);
  void StartRoot(std::string_view tag);
  void EndRoot();
  void StartElement(const IndexReadStream::Piece& piece);
  // Goes through the attributes; false when the element is to be skipped.
  bool TakeAttributes(std::string_view tag);
  [[nodiscard]] bool Admits(const Attribute& attribute);
  [[nodiscard]] bool Filters() const { return !keys_->empty() && !index_->FullRewrite; }
  [[nodiscard]] bool IsWanted(std::string_view id) const;
  void CheckUidOrder(std::int32_t uid);
  void TakeUid(std::string_view value);
  void EndElement();
  void CheckPlaceOfProperty(std::string_view tag);
  void StartProperty(std::string_view tag);
  void EndProperty(std::string_view name, std::string_view text);
  // Takes whole properties as long as each is the one that followed last time and is in the buffer:
  // most are.
  void TakeExpectedProperties();
  // Passes over tags that aren't looked at when only keys are read: the rest of an element, or one
  // tag. False when it isn't in the buffer.
  bool SkipProperties();
  bool SkipPropertyTag();
  // Passes over a whole element of the plain form that the filter leaves out.
  bool SkipElement();
  // `mayDiffer`: the text may stand for another.
  void StoreProperty(PropertyId id, std::string_view text, bool mayDiffer);
  [[nodiscard]] PropertyId Lookup(std::string_view name);
  [[nodiscard]] std::size_t PlaceOfName(std::string_view name);
  void ForgetFilter();
  [[nodiscard]] bool ReadsAll() const { return level_ == kAllProperties && keys_->empty(); }
  // An old form read by its keys: it can only be read whole.
  [[nodiscard]] bool NeedsAll() const { return rootStarted_ && !newForm_ && level_ == kKeys; }
  [[nodiscard]] ParseResult Finish();
  void CheckRoot();
  void MarkWhatIsToBeMended();

  // A property name of this pass, its slot, and which name followed it last time. The first entry
  // stands for the beginning of an element.
  struct KnownName {
    std::string name;
    PropertyId id;
    indexscan::ExpectedTag startTag;
    indexscan::ExpectedTag endTag;
    std::size_t next = 0;
  };

  SORTEDSTOREINDEXTYPE* index_;
  platform::File* file_;
  IndexReadStream stream_;
  const std::int32_t level_;
  const bool append_;
  const std::int32_t verifyFiles_;
  IndexKeySet* keys_;
  const bool admitsAll_;  // the filter has a "*"
  FolderNames files_;
  const std::uint32_t garbageThreshold_;
  std::optional<PropertyMap> ownNames_;  // a copy, so that a look-up takes no lock

  bool valid_ = true;
  std::string message_;
  bool rootStarted_ = false;
  bool rootEnded_ = false;
  bool newForm_ = false;
  bool inElement_ = false;
  bool hasItem_ = false;
  bool hasID_ = false;
  std::optional<std::uint32_t> uid_;  // the attribute
  std::uint64_t itemOffset_ = 0;
  std::uint64_t itemEnd_ = 0;
  PropertyBatch batch_;
  std::vector<KnownName> names_;
  std::unordered_map<std::string, std::size_t> nameAt_;
  std::size_t previousName_ = 0;
  std::size_t current_;  // the open property, kNoName for none
  std::uint32_t idx_ = 1;
  std::int32_t lastUid_ = 0;
  std::uint32_t tombstones_ = 0;
  bool dropped_ = false;   // an item whose file has gone
  bool mistaken_ = false;  // an element that can't be written as it stands
  std::string decoded_;
};

}  // namespace corvane
