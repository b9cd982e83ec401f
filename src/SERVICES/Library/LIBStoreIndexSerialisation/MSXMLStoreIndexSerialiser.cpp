#include "SERVICES/Library/LIBStoreIndexSerialisation/MSXMLStoreIndexSerialiser.h"

#include <memory>
#include <new>

#include "SERVICES/Library/LIBStoreIndexSerialisation/FolderNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexDocument.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Format.h"
#include "platform/Reports.h"

namespace corvane {
namespace {

// All text inside a node, however deep.
std::string TextInside(const pugi::xml_node& node) {
  std::string text;
  pugi::xml_node at = node.first_child();
  while (at) {
    if (at.type() == pugi::node_pcdata || at.type() == pugi::node_cdata) text += at.value();
    if (at.first_child()) {
      at = at.first_child();
      continue;
    }
    while (at && at != node && !at.next_sibling()) at = at.parent();
    if (at == node) break;
    at = at.next_sibling();
  }
  return text;
}

// The halves of a character that the stream writer refers to one by one come out of the document as
// three bytes each; this is the character.
std::string JoinHalves(std::string text) {
  std::size_t at = text.find('\xED');
  for (; at != std::string::npos; at = text.find('\xED', at + 1)) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
    if (at + 6 > text.size()) break;
    const bool halves = byte(1) >= 0xA0 && byte(1) < 0xB0 && byte(3) == 0xED && byte(4) >= 0xB0;
    if (!halves) continue;
    const std::uint32_t high = (byte(1) & 0x0FU) << 6 | (byte(2) & 0x3FU);
    const std::uint32_t low = (byte(4) & 0x0FU) << 6 | (byte(5) & 0x3FU);
    const std::string reference = platform::FormatText("&#x%x;&#x%x;", 0xD800 + high, 0xDC00 + low);
    std::string character;
    text.replace(at, 6, indexformat::DecodeValue(reference, &character));
  }
  return text;
}

class DocumentReader {
 public:
  DocumentReader(SORTEDSTOREINDEXTYPE* index, const IndexRead& read)
      : index_(index), verifies_(read.verifyFiles > 0), files_(read.path, read.listing) {}

  // False for a file with a number that no UID can have.
  [[nodiscard]] bool Read(const pugi::xml_node& root, bool append) {
    if (!append) {
      index_->UnInit();
    }
    ReadLastUid(root, append);
    std::uint32_t idx = 1;
    for (const pugi::xml_node& element : root.children()) {
      if (element.type() != pugi::node_element) continue;
      auto item = std::make_unique<IndexItemPropertyContainer>();
      if (!Fill(element, item.get())) {
        mends_ = true;
        continue;
      }
      const std::uint32_t uid = item->GetNumber(kPropertyUID);
      largest_ = std::max(largest_, uid);
      item->SetNumber(PropertyIDX(), idx++);
      const bool entered = index_->InsertItem(item.get(), false);
      mends_ = mends_ || !entered || uid == 0;
      if (entered) static_cast<void>(item.release());
    }
    index_->SequenceFromUIDs();
    // What was left out, and numbers that were given anew, change the file with the next save.
    if (!append && (mends_ || index_->LastUID != index_->FileLastUID)) index_->MarkFullRewrite();
    return largest_ <= kLargestUid;
  }

 private:
  void ReadLastUid(const pugi::xml_node& root, bool append) {
    const pugi::xml_attribute attribute = root.attribute("LASTUID");
    const indexformat::LastUid lastUid = indexformat::ParseLastUid(attribute.value());
    std::uint32_t value = lastUid.value;
    if (!attribute) {
      value =
          static_cast<std::uint32_t>(std::distance(root.children().begin(), root.children().end()));
    }
    index_->LastUID = append ? std::max(index_->LastUID, value) : value;
    index_->FileLastUID = value;
    largest_ = value;
    if (attribute && lastUid.isNewForm) return;
    index_->KeyFilter.clear();
    index_->MarkFullRewrite();
  }

  bool Fill(const pugi::xml_node& element, IndexItemPropertyContainer* item) {
    for (const pugi::xml_attribute& attribute : element.attributes()) {
      const std::string_view name = attribute.name();
      const bool empty = *attribute.value() == '\0';
      if (!empty && indexformat::IsTombstone(attribute.value())) return false;
      if (name == "ID" && item->Has(kPropertyID)) {
        mends_ = true;  // the first one counts
        continue;
      }
      if (name == "ID" && !indexformat::IsWritableID(attribute.value())) return false;
      if (verifies_ && name == "ID" && !files_.Has(attribute.value())) return false;
      item->SetText(name, attribute.value(), false);
    }
    for (const pugi::xml_node& property : element.children()) {
      if (property.type() != pugi::node_element) continue;
      item->SetText(property.name(), JoinHalves(TextInside(property)), false);
    }
    return item->Has(kPropertyID);
  }

  SORTEDSTOREINDEXTYPE* index_;
  const bool verifies_;
  FolderNames files_;
  std::uint32_t largest_ = 0;
  bool mends_ = false;
};

// The library says no when memory runs out.
void Require(bool done) {
  if (!done) throw std::bad_alloc();
}

void AppendItem(pugi::xml_node root, const IndexItemPropertyContainer& item) {
  pugi::xml_node element = root.append_child("ELEMENT");
  PropertyTexts texts;
  item.Export(&texts, nullptr);
  Require(texts.contains("ID") || !item.Has(kPropertyID));
  for (const char* name : {"ID", "UID"}) {
    const auto found = texts.find(name);
    if (found == texts.end()) continue;
    Require(element.append_attribute(name).set_value(found->second.c_str()));
    texts.erase(found);
  }
  for (const auto& [name, text] : texts) {
    if (IsKeyOrPlace(name) || !IsPropertyName(name)) continue;
    Require(element.append_child(name.c_str()).text().set(indexformat::PlainText(text).c_str()));
  }
}

void TellException(const char* routine, const ExceptionDetails& details) {
  platform::PrintConsole(std::string("MSXMLStoreIndexSerialiser::") + routine +
                         "::An exception occurred. Exception Nr. " + std::to_string(details.code) +
                         "\n");
}

// False for an item that failed: a file without it must not take the good one's place.
bool TryAppendItem(pugi::xml_node root, const IndexItemPropertyContainer& item) {
  return EndException(
      [&] { AppendItem(root, item); },
      [](const ExceptionDetails& details) { TellException("SerialiseItemProps", details); });
}

}  // namespace

MSXMLStoreIndexSerialiser::MSXMLStoreIndexSerialiser()
    : OldFormat(settings::Get(settings::kMsxmlIndexSerialisationProducesOldFormat) != 0) {}

std::int32_t MSXMLStoreIndexSerialiser::DeserialiseHook(SORTEDSTOREINDEXTYPE* index,
                                                        const IndexRead& read) {
  const std::string path = IndexFilePath(read.path, read.messageClass);
  pugi::xml_document document;
  index->FileIsMalformed = false;
  const DocumentResult result = LoadDocument(path, &document);
  if (result != DocumentResult::kRead) {
    LogDebug("Failed to load DOM: " + path + "\n");
    index->FileIsMalformed = result == DocumentResult::kMalformed;
    return kNotLoaded;
  }
  index->KeyFilter.clear();
  if (!DocumentReader(index, read).Read(document.document_element(), read.append)) {
    if (!read.append) index->UnInit();
    index->FileIsMalformed = true;
    return kNotLoaded;
  }
  index->FileTime = IndexFileTime(read.path, read.messageClass);
  return kAllProperties;
}

std::int32_t MSXMLStoreIndexSerialiser::SerialiseHook(SORTEDSTOREINDEXTYPE* index,
                                                      const std::string& folder,
                                                      std::int32_t messageClass) {
  std::int32_t written = 0;
  static_cast<void>(EndException(
      [&] {
        index->KeyFilter.clear();
        index->MarkFullRewrite();
        pugi::xml_document document;
        pugi::xml_node root = document.append_child("BASEELEMENT");
        const std::uint32_t lastUid = index->GetLastUID();
        Require(root.append_attribute("LASTUID").set_value(
            OldFormat ? std::to_string(lastUid).c_str()
                      : ("x" + indexformat::LastUidDigits(lastUid)).c_str()));
        bool whole = true;
        if (OldFormat) {
          for (const IndexItemPropertyContainer* item : index->ByID.InOrder()) {
            whole = TryAppendItem(root, *item) && whole;
          }
        } else {
          for (const auto& [uid, item] : index->ByUID) whole = TryAppendItem(root, *item) && whole;
        }
        index->FileInSync = false;
        written = whole && SaveDocument(IndexFilePath(folder, messageClass), document) ? 1 : 0;
      },
      [](const ExceptionDetails& details) { TellException("SerialiseHook", details); }));
  return written;
}

}  // namespace corvane
