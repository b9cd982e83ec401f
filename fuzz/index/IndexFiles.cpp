// IndexFiles.cpp -- an index file of any bytes: it is refused or read, at every depth, and what was
// read comes back whole from a save of all, from an insertion and from a removal.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>

#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexInspection.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamXMLStoreIndexSerialiser.h"
#include "platform/Reports.h"
#include "platform/SettingsStore.h"

namespace {

namespace fs = std::filesystem;
using corvane::IndexItem;
using corvane::PropertyTexts;
using corvane::SORTEDSTOREINDEXTYPE;

void Require(bool holds) {
  if (!holds) __builtin_trap();
}

void DropEvent(void*, std::string_view, corvane::platform::EventType, std::uint32_t,
               std::string_view, std::string_view) {}

// Two folders of the run's own, in memory where the machine has such a place.
class Folders {
 public:
  Folders() {
    const fs::path memory = "/dev/shm";
    std::string pattern =
        (fs::exists(memory) ? memory : fs::temp_directory_path()) / "fuzz-index-XXXXXX";
    Require(mkdtemp(pattern.data()) != nullptr);
    root_ = pattern;
    fs::create_directories(Read());
    fs::create_directories(Written());
    corvane::platform::SettingsStore::UsePath(pattern + "/settings.db");
    corvane::platform::SetEventListener(&DropEvent, nullptr);
  }
  ~Folders() { fs::remove_all(root_); }
  Folders(const Folders&) = delete;
  Folders& operator=(const Folders&) = delete;

  [[nodiscard]] std::string Read() const { return root_ / "read"; }
  [[nodiscard]] std::string Written() const { return root_ / "written"; }

 private:
  fs::path root_;
};

const Folders& Places() {
  static const Folders folders;
  return folders;
}

// A partly loaded index is completed by the stream reader too.
class StreamFiles final : public corvane::IndexFiles {
 public:
  std::int32_t Read(SORTEDSTOREINDEXTYPE* index, const corvane::IndexRead& read) override {
    return corvane::StreamXMLStoreIndexSerialiser().DeserialiseHook(index, read);
  }
  std::int32_t Write(SORTEDSTOREINDEXTYPE* index, const std::string& path,
                     std::int32_t messageClass) override {
    return corvane::StreamXMLStoreIndexSerialiser().SerialiseHook(index, path, messageClass);
  }
  [[nodiscard]] bool WriterNeedsAll() const override { return false; }
  [[nodiscard]] std::int64_t FileTime(const std::string&, std::int32_t) const override { return 0; }
};
StreamFiles files;

void WriteIndex(const std::uint8_t* data, std::size_t size) {
  std::ofstream(Places().Read() + "/_index.xml", std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

bool Load(SORTEDSTOREINDEXTYPE* index, const std::string& folder, std::int32_t level,
          const std::string& keyFilter = {}) {
  corvane::IndexRead read;
  read.path = folder;
  read.keyFilter = keyFilter;
  read.level = level;
  read.quiet = true;
  index->LoadState = files.Read(index, read);
  if (index->LoadState >= corvane::kKeys) {
    Require(index->Sequence.size() == index->ByUID.size());
    Require(index->ByID.Size() == index->ByUID.size());
  } else {
    Require(index->Sequence.empty());
  }
  return index->LoadState != corvane::kNotLoaded;
}

bool Save(SORTEDSTOREINDEXTYPE* index, const std::string& folder) {
  return files.Write(index, folder, corvane::kClassMail) == 1;
}

// What a file can hold of an item, by its ID. Bytes beyond ASCII may be changed by a save.
constexpr const char* kOtherBytes = "other bytes";
using Items = std::map<std::string, std::pair<std::uint32_t, PropertyTexts>>;

Items ItemsOf(const SORTEDSTOREINDEXTYPE& index) {
  Items items;
  for (const auto* item : index.Sequence) {
    auto& [uid, texts] = items[item->GetText("ID")];
    uid = item->GetNumber("UID");
    item->Export(&texts, nullptr);
    texts.erase("IDX");
    texts.erase("SEQ");
    for (auto text = texts.begin(); text != texts.end();) {
      const bool plain = std::all_of(text->second.begin(), text->second.end(),
                                     [](char c) { return c >= ' ' && c < 127; });
      if (!plain && text->first != "ID") text->second = kOtherBytes;
      text = corvane::IsPropertyName(text->first) ? std::next(text) : texts.erase(text);
    }
  }
  return items;
}

Items ItemsIn(const std::string& folder) {
  SORTEDSTOREINDEXTYPE index(&files);
  Require(Load(&index, folder, corvane::kAllProperties));
  return ItemsOf(index);
}

// Whether `folder` holds `items`. A save may have made plain bytes of others.
bool Holds(const std::string& folder, const Items& items) {
  Items found = ItemsIn(folder);
  for (auto& [id, item] : found) {
    const auto before = items.find(id);
    if (before == items.end()) return false;
    for (const auto& [name, text] : before->second.second) {
      const auto after = item.second.find(name);
      if (text == kOtherBytes && after != item.second.end()) after->second = kOtherBytes;
    }
  }
  return found == items;
}

// A load of the keys alone, which passes over the rest, finds the same elements.
void CheckKeys(const SORTEDSTOREINDEXTYPE& whole) {
  SORTEDSTOREINDEXTYPE keys(&files);
  Require(Load(&keys, Places().Read(), corvane::kKeys));
  Require(keys.Sequence.size() == whole.Sequence.size());
  for (const auto* item : whole.Sequence) {
    const auto* found = keys.ByID.Find(item->TextView(corvane::kPropertyID));
    Require(found != nullptr && found->GetNumber("UID") == item->GetNumber("UID"));
    Require(found->GetOffset() == item->GetOffset() && found->GetLength() == item->GetLength());
  }
}

void CheckRewrite(const Items& items) {
  SORTEDSTOREINDEXTYPE index(&files);
  Require(Load(&index, Places().Read(), corvane::kAllProperties));
  index.FileInSync = false;
  index.MarkFullRewrite();
  fs::remove(Places().Written() + "/_index.xml");
  Require(Save(&index, Places().Written()));
  Require(Holds(Places().Written(), items));
}

void CheckInsertion(Items items) {
  constexpr const char* kNew = "new in the folder.MAI";
  if (items.count(kNew) != 0) return;
  SORTEDSTOREINDEXTYPE index(&files);
  Require(Load(&index, Places().Read(), corvane::kHeaderOnly));
  const std::uint32_t lastUid = index.GetLastUID();
  IndexItem item;
  item.Create();
  item.SetText("ID", kNew);
  item.SetText("SUBJECT", "new");
  Require(index.AddItem(&item));
  if (!Save(&index, Places().Read())) return;
  items[kNew] = ItemsOf(index)[kNew];
  // LastUID may be beyond it: an element that stands twice may have taken one.
  Require(items[kNew].first > lastUid && items[kNew].first <= index.LastUID);
  Require(Holds(Places().Read(), items));
}

void CheckRemoval(Items items) {
  SORTEDSTOREINDEXTYPE whole(&files);
  const auto report = corvane::InspectIndex(&whole, Places().Read(), corvane::kClassMail);
  // An element that stands twice comes up again when the first one goes.
  if (items.empty() || report.elements != items.size()) return;
  const std::vector<std::string> first = {items.begin()->first};
  const bool filters = first[0] != "*" && first[0].find(',') == std::string::npos;
  SORTEDSTOREINDEXTYPE index(&files);
  Require(Load(&index, Places().Read(), corvane::kKeys, filters ? first[0] : ""));
  Require(index.Sequence.size() == (index.IsFiltered() ? 1 : items.size()));
  Require(index.RemoveItems(first) == 1);
  items.erase(items.begin());
  if (!Save(&index, Places().Read())) return;
  Require(Holds(Places().Read(), items));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  WriteIndex(data, size);
  for (const std::int32_t level : {corvane::kKeys, corvane::kAllProperties}) {
    for (const char* filter : {"a.MAI,b.MAI", ""}) {
      SORTEDSTOREINDEXTYPE index(&files);
      static_cast<void>(Load(&index, Places().Read(), level, filter));
    }
  }
  SORTEDSTOREINDEXTYPE index(&files);
  if (!Load(&index, Places().Read(), corvane::kAllProperties)) return 0;
  const Items items = ItemsOf(index);
  CheckKeys(index);
  CheckRewrite(items);
  // A LASTUID below a UID, or at the end of all, is a fault that the check of an index tells.
  const bool numbered = index.FileLastUID < corvane::kLargestUid &&
                        (index.ByUID.empty() || index.ByUID.rbegin()->first <= index.FileLastUID);
  if (!numbered) return 0;
  CheckInsertion(items);
  WriteIndex(data, size);
  CheckRemoval(items);
  return 0;
}
