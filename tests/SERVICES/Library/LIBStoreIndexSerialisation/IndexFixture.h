// IndexFixture.h -- a folder with an index, in settings of a test's own.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexCore/StoreIndex.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/FolderIndexFiles.h"
#include "platform/FileSystem.h"
#include "tests/support/HeardEvents.h"
#include "tests/support/SettingsFixture.h"

namespace corvane::test {

class IndexFixture : public SettingsFixture {
 protected:
  IndexFixture() : folder_(Directory() / "Inbox"), index_(folder_ + "/_index.xml") {
    EXPECT_TRUE(platform::CreateDirectory(folder_));
    UseStreams(true, true);
  }

  void UseStreams(bool reading, bool writing) {
    Set("Use XML Stream Index Deserialisation", reading ? 1 : 0);
    Set("Use XML Stream Index Serialisation", writing ? 1 : 0);
  }
  void WriteIndex(std::string_view text) { WriteBytes(index_, text); }
  [[nodiscard]] std::string IndexText() const { return ReadBytes(index_); }
  void MakeFile(const std::string& name, std::string_view text = "Subject: x\r\n\r\n") {
    WriteBytes(folder_ + "/" + name, text);
  }

  // Loads `store` from the folder, whose lock nobody asks for.
  bool Load(StoreIndex* store, std::int32_t level, const std::string& keyFilter = {},
            std::int32_t verifyFiles = 0, bool useChangeFlag = false, bool recover = false) {
    return store->Index.Load({.store = store,
                              .path = folder_,
                              .keyFilter = keyFilter,
                              .level = level,
                              .verifyFiles = verifyFiles,
                              .useChangeFlag = useChangeFlag,
                              .recover = recover});
  }
  // An index that is loaded so far, and lives as long as the test.
  StoreIndex& Loaded(std::int32_t level = kAllProperties, const std::string& keyFilter = {},
                     std::int32_t verifyFiles = 0, bool useChangeFlag = false,
                     bool recover = false) {
    stores_.push_back(std::make_unique<StoreIndex>(&files_));
    StoreIndex& store = *stores_.back();
    EXPECT_TRUE(Load(&store, level, keyFilter, verifyFiles, useChangeFlag, recover));
    return store;
  }
  bool Save(StoreIndex* store) {
    return store->Index.Save(folder_, kClassMail, false) && store->Index.LastSaveWorked();
  }
  static bool Add(StoreIndex* store, const std::string& id, const std::string& subject = "s") {
    IndexItem item;
    item.Create();
    item.SetText("ID", id);
    if (!subject.empty()) item.SetText("SUBJECT", subject);
    return store->Index.AddItem(&item);
  }
  // "ID=subject" of every item in the folder's order.
  static std::string Items(const StoreIndex& store) {
    std::string items;
    for (const auto* item : store.Index.Sequence) {
      items += item->GetText("ID") + "=" + item->GetText("SUBJECT") + " ";
    }
    return items;
  }
  // The same of what a new load of everything finds; "unreadable" when it fails.
  std::string ItemsOnDisk() {
    StoreIndex store(&files_);
    return Load(&store, kAllProperties) ? Items(store) : "unreadable";
  }

  FolderIndexFiles files_{FolderScans{}};
  const std::string folder_;
  const std::string index_;
  HeardEvents heard_;

 private:
  std::vector<std::unique_ptr<StoreIndex>> stores_;
};

inline bool Holds(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}
inline std::string Element(const std::string& id, std::uint32_t uid, const std::string& subject) {
  return "<ELEMENT ID=\"" + id + "\" UID=\"" + std::to_string(uid) + "\"><READ>0</READ><SUBJECT>" +
         subject + "</SUBJECT></ELEMENT>";
}
inline std::string IndexOf(const std::string& lastUid, const std::string& elements) {
  return "<BASEELEMENT LASTUID=\"" + lastUid + "\">" + elements + "</BASEELEMENT>\r\n";
}

}  // namespace corvane::test
