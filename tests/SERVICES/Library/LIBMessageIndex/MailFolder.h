// MailFolder.h -- a mail folder with messages and an index, in settings of a test's own.
#pragma once

#include <string>

#include "SERVICES/Library/LIBMessageIndex/FolderScan.h"
#include "SERVICES/Library/LIBMessageIndex/MessageIndexFiles.h"
#include "platform/FileSystem.h"
#include "tests/support/SettingsFixture.h"

namespace corvane::test {

class MailFolder : public SettingsFixture {
 protected:
  MailFolder() : folder_(Directory() / "Inbox") {
    EXPECT_TRUE(platform::CreateDirectory(folder_));
    UseStreams(true, true);
  }

  void UseStreams(bool reading, bool writing) {
    Set("Use XML Stream Index Deserialisation", reading ? 1 : 0);
    Set("Use XML Stream Index Serialisation", writing ? 1 : 0);
  }
  [[nodiscard]] std::string PathOf(const std::string& name) const { return folder_ + "/" + name; }
  void Deliver(const std::string& name, const std::string& subject,
               const std::string& headers = "") {
    WriteBytes(PathOf(name), "Subject: " + subject + "\r\n" + headers + "\r\nbody\r\n");
  }
  [[nodiscard]] bool IsThere(const std::string& name) const {
    return platform::FileExists(PathOf(name));
  }

  // A load as a reader of the folder does it: a marked folder is scanned.
  bool Open(StoreIndex* store, bool forceRescan = false, bool recover = true,
            std::int32_t messageClass = kClassMail) {
    return store->Index.Load({.store = store,
                              .path = folder_,
                              .messageClass = messageClass,
                              .keyFilter = {},
                              .verifyFiles = forceRescan ? 1 : 0,
                              .forceRescan = forceRescan,
                              .recover = recover});
  }
  // "ID:UID=value " of every item in UID order after such a load; "unreadable" when it fails.
  std::string Items(const char* property = "SUBJECT", bool forceRescan = false) {
    StoreIndex store(MessageIndexFiles());
    if (!Open(&store, forceRescan)) return "unreadable";
    std::string items;
    for (const auto& [uid, item] : store.Index.ByUID) {
      items +=
          item->GetText("ID") + ":" + std::to_string(uid) + "=" + item->GetText(property) + " ";
    }
    return items;
  }

  const std::string folder_;
};

}  // namespace corvane::test
