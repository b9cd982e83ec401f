#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamIndexParser.h"

#include <algorithm>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexScan.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr std::size_t kNoName = SIZE_MAX;
constexpr std::size_t kFirstBytes = 100;
constexpr std::string_view kRoot = "BASEELEMENT";
constexpr std::string_view kElement = indexformat::kElementStart.substr(1);
constexpr std::string_view kIdStart = "<ELEMENT ID=\"";

using indexscan::BeginsWith;
using indexscan::EndOfElement;

std::string Quoted(const char* before, std::string_view inside, const char* behind) {
  return std::string(before).append(inside).append(behind);
}

bool IsBetweenAttributes(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '/';
}

// Takes the next attribute off `rest`: 1 taken, 0 none left, -1 a value without its closing quote.
int NextAttribute(std::string_view* rest, std::string_view* name, std::string_view* value) {
  while (!rest->empty() && IsBetweenAttributes(rest->front())) rest->remove_prefix(1);
  std::size_t equals = 0;
  while (equals < rest->size() && (*rest)[equals] != '=') ++equals;
  if (equals == rest->size()) return 0;
  *name = rest->substr(0, equals);
  while (!name->empty() && name->back() == ' ') name->remove_suffix(1);
  std::size_t open = equals;
  while (open < rest->size() && (*rest)[open] != '"' && (*rest)[open] != '\'') ++open;
  const std::size_t close = open == rest->size() ? rest->npos : rest->find((*rest)[open], open + 1);
  if (close == rest->npos) return -1;
  *value = rest->substr(open + 1, close - open - 1);
  rest->remove_prefix(close + 1);
  return 1;
}

}  // namespace

StreamIndexParser::StreamIndexParser(SORTEDSTOREINDEXTYPE* index, platform::File* file,
                                     std::string folder, const IndexRead& read, IndexKeySet* keys)
    : index_(index),
      file_(file),
      stream_(file, settings::Get(settings::kIndexReadCacheSize)),
      level_(read.level),
      append_(read.append),
      verifyFiles_(read.verifyFiles),
      keys_(keys),
      admitsAll_(keys->contains("*")),
      files_(std::move(folder), read.listing),
      garbageThreshold_(settings::Get(settings::kIndexGarbageCollectionThreshold)),
      ownNames_(settings::Get(settings::kIndexUsesLocalProperties) != 0
                    ? std::optional(CloneGlobalPropertyMap())
                    : std::nullopt),
      current_(kNoName) {
  names_.push_back({{}, {}, indexscan::ExpectedTag(""), indexscan::ExpectedTag("")});
}

void StreamIndexParser::Fail(const std::string& message) {
  if (valid_) message_ = message;
  valid_ = false;
}

void StreamIndexParser::ForgetFilter() {
  index_->KeyFilter.clear();
  keys_->clear();
  index_->MarkFullRewrite();
}

ParseResult StreamIndexParser::Parse() {
  IndexReadStream::Piece piece;
  while (stream_.Next(&piece)) {
    HandleTag(piece);
    if (level_ == kKeys) {
      while (SkipProperties() || SkipElement()) {
      }
    } else {
      TakeExpectedProperties();
    }
    if (append_ || ReadsAll()) continue;
    if (tombstones_ >= garbageThreshold_ || NeedsAll()) break;
  }
  return Finish();
}

void StreamIndexParser::HandleTag(const IndexReadStream::Piece& piece) {
  const std::string_view tag = piece.tag;
  const bool end = !tag.empty() && tag.front() == '/';
  const std::string_view name = end ? tag.substr(1) : tag;
  if (BeginsWith(name, kElement)) {
    itemEnd_ = stream_.Consumed();
    if (end) {
      EndElement();
    } else {
      StartElement(piece);
    }
  } else if (BeginsWith(name, kRoot)) {
    if (end) {
      EndRoot();
    } else {
      StartRoot(tag);
    }
  } else if (level_ != kKeys) {
    if (end) {
      EndProperty(name, piece.text);
    } else {
      StartProperty(tag);
    }
  }
}

void StreamIndexParser::StartRoot(std::string_view tag) {
  if (rootStarted_) {
    Fail("Encountered root element start tag after already encountering a root element start tag");
    return;
  }
  rootStarted_ = true;
  std::string_view text;
  const bool found = indexformat::FindLastUid(tag, &text);
  const indexformat::LastUid lastUid = indexformat::ParseLastUid(text);
  newForm_ = found && lastUid.isNewForm;
  index_->LastUID = append_ ? std::max(index_->LastUID, lastUid.value) : lastUid.value;
  index_->FileLastUID = lastUid.value;
  if (lastUid.value > kLargestUid) {
    Fail("Encountered root element start tag with a LASTUID beyond the largest UID");
  }
  const bool ends = tag.find('/') != std::string_view::npos;
  if (!newForm_ || ends) ForgetFilter();
  if (ends) rootEnded_ = true;
}

void StreamIndexParser::EndRoot() {
  if (!rootStarted_) Fail("Encountered root element end tag before root element start tag");
  if (rootEnded_) {
    Fail("Encountered root element end tag after already encountering a root element end tag");
  }
  // An element that is written behind the last one would stand within what is open.
  if (inElement_) Fail("Encountered root element end tag nested within an element");
  if (current_ != kNoName) {
    Fail(Quoted("Encountered root element end tag nested within a property (",
                names_[current_].name, ")"));
  }
  rootEnded_ = true;
}

void StreamIndexParser::StartElement(const IndexReadStream::Piece& piece) {
  if (!rootStarted_) {
    Fail("Encountered element tag before encountering a root element start tag");
  }
  if (rootEnded_) {
    Fail("Encountered element tag after already encountering a root element end tag");
  }
  if (current_ != kNoName) {
    Fail(Quoted("Encountered element start tag nested within a property (", names_[current_].name,
                ")"));
  }
  if (inElement_) Fail("Encountered element start tag nested within another element");
  inElement_ = true;
  hasItem_ = false;
  hasID_ = false;
  previousName_ = 0;
  batch_.Clear();
  itemOffset_ = piece.tagOffset;
  uid_.reset();
  const bool taken = TakeAttributes(piece.tag);
  if (taken && uid_) CheckUidOrder(static_cast<std::int32_t>(*uid_));
  if (taken && !hasID_) Fail("Encountered element start tag without an ID");
  if (!taken) hasItem_ = false;
  if (piece.tag.back() == '/') EndElement();
}

bool StreamIndexParser::TakeAttributes(std::string_view tag) {
  std::string_view rest = tag.substr(kElement.size());
  for (;;) {
    Attribute attribute;
    const int taken = NextAttribute(&rest, &attribute.name, &attribute.value);
    if (taken == 0) return true;
    if (taken < 0) {
      Fail(Quoted("Unable to parse ID attribute, Tag=[", tag, "]"));
      return true;
    }
    if (indexformat::IsTombstone(attribute.value)) {
      ++tombstones_;
      return false;
    }
    // Of two names the first one counts, with a filter and without.
    if (hasID_ && attribute.name == "ID") {
      mistaken_ = true;
      continue;
    }
    attribute.value = indexformat::DecodeAttribute(attribute.value, &decoded_);
    if (!Admits(attribute)) return false;
    hasItem_ = true;
    if (attribute.name == "ID") {
      hasID_ = !attribute.value.empty();
      batch_.AddText(kPropertyID, attribute.value);
    } else if (attribute.name == "UID") {
      TakeUid(attribute.value);
    } else if (const PropertyId id = Lookup(attribute.name); id.Type == kPropertyNumber) {
      batch_.AddNumber(id, NumberOfText(attribute.value));
    } else {
      batch_.AddText(id, attribute.value);
    }
  }
}

void StreamIndexParser::TakeUid(std::string_view value) {
  uid_ = NumberOfText(value);
  batch_.AddNumber(kPropertyUID, *uid_);
}

// As a signed number, so that one beyond the largest counts as lower.
void StreamIndexParser::CheckUidOrder(std::int32_t uid) {
  if (!newForm_ && uid >= 0) return;
  if (uid < lastUid_) {
    Fail("Encountered element with UID out of order. This UID=" + std::to_string(uid) +
         ", Previous UID=" + std::to_string(lastUid_) +
         ", Largest/Last UID=" + std::to_string(index_->LastUID));
  }
  lastUid_ = uid;
}

bool StreamIndexParser::Admits(const Attribute& attribute) {
  if (attribute.name != "ID") return true;
  if (!indexformat::IsWritableID(attribute.value)) {
    ++idx_;
    mistaken_ = true;
    return false;
  }
  if (Filters()) return IsWanted(attribute.value);
  if (verifyFiles_ < 1 || files_.Has(attribute.value)) return true;
  dropped_ = true;
  return false;
}

bool StreamIndexParser::IsWanted(std::string_view id) const {
  if (admitsAll_) return true;
  return keys_->size() == 1 ? id == *keys_->begin() : keys_->contains(id);
}

void StreamIndexParser::EndElement() {
  if (!inElement_)
    Fail("Encountered element end tag before encountering a matching element start tag");
  inElement_ = false;
  const bool stores = hasItem_ && valid_;  // nothing more is stored from a malformed file
  hasItem_ = false;
  if (!stores) return;
  batch_.AddNumber(PropertyIDX(), idx_++);
  const bool atEnd = newForm_ || append_;  // of the folder's order
  if (atEnd) {
    batch_.AddNumber(PropertySEQ(), static_cast<std::uint32_t>(index_->Sequence.size() + 1));
  }
  std::unique_ptr<IndexItemPropertyContainer> item(
      IndexItemPropertyContainer::MakeIn(&index_->Memory));
  item->Take(batch_, &index_->Memory);
  item->SetOffset(itemOffset_);
  item->SetLength(static_cast<std::uint32_t>(itemEnd_ - itemOffset_));
  mistaken_ = mistaken_ || uid_.value_or(0) == 0;
  if (!index_->InsertItem(item.get(), !append_)) {
    mistaken_ = true;
    return;
  }
  if (atEnd) index_->Sequence.push_back(item.get());
  static_cast<void>(item.release());
}

PropertyId StreamIndexParser::Lookup(std::string_view name) {
  return FindProperty(ownNames_ ? &*ownNames_ : nullptr, name);
}

// The names of an element mostly come in the order of the one before.
std::size_t StreamIndexParser::PlaceOfName(std::string_view name) {
  const std::size_t expected = names_[previousName_].next;
  if (expected != 0 && names_[expected].name == name) return expected;
  const auto [entry, isNew] = nameAt_.try_emplace(std::string(name), names_.size());
  if (isNew) {
    names_.push_back({std::string(name), Lookup(name),
                      indexscan::ExpectedTag(Quoted("<", name, ">")),
                      indexscan::ExpectedTag(Quoted("</", name, ">"))});
  }
  names_[previousName_].next = entry->second;
  return entry->second;
}

void StreamIndexParser::CheckPlaceOfProperty(std::string_view tag) {
  if (!rootStarted_) {
    Fail(Quoted("Encountered property tag (", tag,
                ") before encountering a root element start tag"));
  }
  if (rootEnded_) {
    Fail(Quoted("Encountered property tag (", tag,
                ") after already encountering a root element end tag"));
  }
  if (!inElement_) Fail(Quoted("Encountered property tag (", tag, ") outside an element"));
}

void StreamIndexParser::StartProperty(std::string_view tag) {
  const bool closes = !tag.empty() && tag.back() == '/';
  if (closes) tag.remove_suffix(1);
  CheckPlaceOfProperty(tag);
  if (current_ != kNoName) {
    Fail(Quoted("Encountered property start tag (", tag, ") nested within another property (") +
         names_[current_].name + ")");
  }
  if (!valid_ || closes) return;
  current_ = PlaceOfName(tag);
  previousName_ = current_;
}

void StreamIndexParser::EndProperty(std::string_view name, std::string_view text) {
  CheckPlaceOfProperty(name);
  if (!valid_) return;
  if (current_ == kNoName || names_[current_].name != name) {
    Fail(Quoted("Encountered property end tag (", name,
                ") that does not match previous property start tag (") +
         (current_ == kNoName ? std::string() : names_[current_].name) + ")");
    current_ = kNoName;
    return;
  }
  const PropertyId id = names_[current_].id;
  current_ = kNoName;
  StoreProperty(id, text, true);
}

// In a sound element there is nothing to check but the tags themselves.
void StreamIndexParser::TakeExpectedProperties() {
  if (!inElement_ || !valid_ || current_ != kNoName) return;
  const std::string_view there = stream_.Buffered();
  std::string_view rest = there;
  for (;;) {
    const std::size_t next = names_[previousName_].next;
    const KnownName& known = names_[next];
    if (next == 0 || !known.startTag.Begins(rest)) break;
    const std::string_view text = rest.substr(known.startTag.Size());
    const indexscan::Value value = indexscan::FindValue(text);
    if (value.size == text.npos || !known.endTag.Begins(text.substr(value.size))) break;
    StoreProperty(known.id, text.substr(0, value.size), value.hasAmpersand);
    rest = text.substr(value.size + known.endTag.Size());
    previousName_ = next;
  }
  stream_.Skip(there.size() - rest.size());
}

bool StreamIndexParser::SkipProperties() {
  const std::string_view there = stream_.Buffered();
  const std::size_t end = inElement_ ? EndOfElement(there, 0) : there.npos;
  if (end == there.npos) return SkipPropertyTag();
  stream_.Skip(end - indexformat::kElementEnd.size());
  return false;
}

bool StreamIndexParser::SkipPropertyTag() {
  const std::string_view there = stream_.Buffered();
  const std::size_t open = there.find('<');
  if (open == std::string_view::npos || there.size() - open < 3) return false;
  const char first = there[open + 1] == '/' ? there[open + 2] : there[open + 1];
  if (first == kElement.front() || first == kRoot.front()) return false;
  const std::size_t close = there.find('>', open);
  if (close == std::string_view::npos || close - open > indexformat::kLongestTag) return false;
  stream_.Skip(close + 1);
  return true;
}

// The ID comes first, and what follows in the tag of an element that isn't wanted is never looked
// at. Tombstones, entities and all else that isn't plain go the long way.
bool StreamIndexParser::SkipElement() {
  const std::string_view there = stream_.Buffered();
  const bool fits = Filters() && newForm_ && valid_ && !rootEnded_ && !inElement_;
  if (!fits || !BeginsWith(there, kIdStart)) return false;
  const std::size_t close = there.find('>');
  if (close == there.npos || close > indexformat::kLongestTag || there[close - 1] == '/') {
    return false;
  }
  const std::string_view head = there.substr(kIdStart.size(), close - kIdStart.size());
  const std::string_view id = head.substr(0, head.find('"'));
  const bool plain = id.size() < head.size() && !indexformat::IsTombstone(id) &&
                     id.find('&') == id.npos && !IsWanted(id);
  const std::size_t end = plain ? EndOfElement(there, close) : there.npos;
  if (end == there.npos) return false;
  stream_.Skip(end);
  return true;
}

void StreamIndexParser::StoreProperty(PropertyId id, std::string_view text, bool mayDiffer) {
  if (!hasItem_ || text.empty()) return;
  if (mayDiffer) text = indexformat::DecodeValue(text, &decoded_);
  if (id.Type == kPropertyNumber) {
    batch_.AddNumber(id, NumberOfText(text));
  } else {
    batch_.AddText(id, text);
  }
}

void StreamIndexParser::CheckRoot() {
  if (!rootStarted_) {
    std::string first(kFirstBytes, '\0');
    const std::int64_t got = file_->Seek(0) ? file_->Read(first.data(), first.size()) : 0;
    first.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    const auto info = file_->Info();
    Fail("Did not find root element start tag [" + std::to_string(info ? info->size : 0) + ":" +
         first + "]");
  }
  if (!rootEnded_) Fail("Did not find root element end tag");
}

// What the next reader would stumble over is written anew with the next save. A file that would be
// written just as it is stays.
void StreamIndexParser::MarkWhatIsToBeMended() {
  const bool verified = verifyFiles_ >= 1 && level_ == kAllProperties;
  const bool compact = tombstones_ == 0 && !dropped_ && Elements() == index_->ItemCount();
  const bool mistaken = mistaken_ || index_->LastUID != index_->FileLastUID;
  if ((mistaken && !append_) || (verified && (append_ || !compact))) index_->MarkFullRewrite();
}

ParseResult StreamIndexParser::Finish() {
  const std::int32_t error = platform::LastError();  // of a read that failed
  // Items of an old form, and those before the root, have no position yet.
  if (!append_ && index_->Sequence.size() != index_->ByUID.size()) index_->SequenceFromUIDs();
  if (stream_.Failed()) {
    Fail(platform::ErrorText(error));
    return ParseResult::kUnreadable;
  }
  if (NeedsAll() && !append_) {
    index_->UnInit();
    return ParseResult::kStartAgain;
  }
  if (tombstones_ >= garbageThreshold_ && !append_) {
    const bool readsAll = ReadsAll();
    index_->KeyFilter.clear();
    index_->MarkFullRewrite();
    if (!readsAll) {
      index_->UnInit();
      return ParseResult::kStartAgain;
    }
  }
  CheckRoot();
  if (!valid_) return ParseResult::kMalformed;
  MarkWhatIsToBeMended();
  return ParseResult::kGood;
}

}  // namespace corvane
