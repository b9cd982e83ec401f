// The index of a folder against a plain map, and what is left of it when a change is cut short.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "SERVICES/Library/LIBMessageIndex/FolderIndex.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexInspection.h"
#include "platform/FaultInjection.h"
#include "tests/SERVICES/Library/LIBMessageIndex/MailFolder.h"
#include "tests/support/ChildProcess.h"

namespace corvane::test {
namespace {

struct Combination {
  const char* name;
  bool streamReader, streamWriter, oldFormat, offsetCache;
};
const Combination kCombinations[] = {
    {"Streams", true, true, true, false},
    {"StreamsWithOffsetCache", true, true, true, true},
    {"OldDocuments", false, false, true, false},
    {"NewDocuments", false, false, false, false},
    {"StreamReaderOfDocuments", true, false, false, false},
    {"DocumentReaderOfStreams", false, true, true, true},
};

class Model : public MailFolder {
 protected:
  struct Row {
    std::string subject, flags;
  };

  void Use(const Combination& c) {
    UseStreams(c.streamReader, c.streamWriter);
    Set("MSXML Index Serialisation Produces Old Format", c.oldFormat ? 1U : 0U);
    Set("Offset Index", c.offsetCache ? 1U : 0U);
    Set("Index Write Cache Size", 64U);
    Set("Index Garbage Collection Threshold", 7U);
  }

  std::string AnyName() {
    auto at = rows_.begin();
    std::advance(at, static_cast<std::ptrdiff_t>(random_() % rows_.size()));
    return at->first;
  }
  void AddOne(bool indexed) {
    const std::string name = "m" + std::to_string(++made_ * 7919 % 10'007) + ".MAI";
    const std::string subject = std::string(random_() % 60, 's') + std::to_string(made_) + " <&>";
    Deliver(name, subject);
    rows_[name] = {subject, "\\RECENT"};
    if (indexed) {
      ASSERT_EQ(InsertIntoFolderIndex(folder_, name), 1);
    } else {
      WriteBytes(PathOf("_CHANGE.DTY"), "x");
      StoreIndex store(MessageIndexFiles());
      ASSERT_TRUE(Open(&store));
    }
  }
  void RemoveSome() {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < 1 + random_() % 3 && !rows_.empty(); ++i) {
      names.push_back(AnyName());
      rows_.erase(names.back());
      ASSERT_TRUE(platform::DeleteFile(PathOf(names.back())));
    }
    std::size_t removed = 0;
    ASSERT_EQ(RemoveFromFolderIndex(folder_, names, &removed), IndexChange::kDone);
    ASSERT_EQ(removed, names.size());
  }
  void FlagOne() {
    const std::string name = AnyName();
    const char* const kFlags[] = {"\\SEEN", "\\SEEN \\ANSWERED $Work", "\\FLAGGED", ""};
    rows_[name].flags = kFlags[random_() % 4];
    ASSERT_EQ(SetInFolderIndex(folder_, name, "FLAGSTATUS", rows_[name].flags), IndexChange::kDone);
  }

  // The file, read whole, holds what the map holds, and is sound.
  void Compare() {
    StoreIndex store(MessageIndexFiles());
    ASSERT_TRUE(store.Index.Load(
        {.store = &store, .path = folder_, .keyFilter = {}, .useChangeFlag = false}));
    std::map<std::string, std::string> found;
    for (const auto* item : store.Index.Sequence) {
      found[item->GetText("ID")] = item->GetText("SUBJECT") + "|" + item->GetText("FLAGSTATUS");
    }
    std::map<std::string, std::string> expected;
    for (const auto& [name, row] : rows_) expected[name] = row.subject + "|" + row.flags;
    ASSERT_EQ(found, expected);
    const auto faults = CheckIndex(folder_, kClassMail);
    ASSERT_TRUE(faults.empty()) << faults.front();
  }

  std::minstd_rand random_{4711};
  std::map<std::string, Row> rows_;
  std::uint32_t made_ = 0;
};

TEST_F(Model, RandomChangesLeaveWhatAPlainMapHolds) {
  for (const Combination& c : kCombinations) {
    SCOPED_TRACE(c.name);
    Use(c);
    for (int step = 0; step < 150; ++step) {
      const auto dice = random_() % 10;
      if (rows_.size() < 3 || dice < 4) {
        AddOne(dice % 2 == 0);
      } else if (dice < 6) {
        RemoveSome();
      } else {
        FlagOne();
      }
      if (HasFatalFailure()) return;
      if (step % 10 == 9) Compare();
      if (HasFatalFailure()) return;
    }
  }
}

// Every write of a change is cut in turn. Whatever is left, a reader of the folder finds every
// message, and flags where the index or its backup has them.
TEST_F(Model, AChangeThatIsCutShortLosesNoMessage) {
  Set("Backup Index", 1U);
  Set("Index Write Cache Size", 16U);
  const auto prepare = [&] {
    for (const char* name :
         {"_index.xml", "_index.xml.bak", "_index.xml.bad", "_index.blk", "_CHANGE.DTY", "n.MAI"}) {
      static_cast<void>(platform::DeleteFile(PathOf(name)));
    }
    for (const char* name : {"a.MAI", "b.MAI", "c.MAI"}) Deliver(name, name);
    Items("ID", true);
    ASSERT_EQ(SetInFolderIndex(folder_, "c.MAI", "FLAGSTATUS", "\\SEEN"), IndexChange::kDone);
    Clock().Advance(371LL * 60 * 1000);
    Items();  // keeps the backup
    Deliver("n.MAI", "n.MAI");
  };
  using Change = void (*)(const std::string&);
  const std::pair<const char*, Change> kChanges[] = {
      {"insert", [](const std::string& f) { InsertIntoFolderIndex(f, "n.MAI"); }},
      {"set",
       [](const std::string& f) {
         static_cast<void>(SetInFolderIndex(f, "a.MAI", "SUBJECT", std::string(90, 'x')));
       }},
      {"remove",
       [](const std::string& f) {
         std::size_t removed = 0;
         static_cast<void>(RemoveFromFolderIndex(f, {"b.MAI"}, &removed));
       }},
      {"rebuild",
       [](const std::string& f) {
         StoreIndex store(MessageIndexFiles());
         ScanFoldersOrdered(&store.Index, f, true, nullptr, 1, true);
       }},
  };
  for (const auto& [name, change] : kChanges) {
    for (std::uint64_t call = 1;; ++call) {
      SCOPED_TRACE(std::string(name) + " " + std::to_string(call));
      ASSERT_LT(call, 200U);
      prepare();
      const int ended = RunInChild([&, change = change] {
        platform::ArmFault({.number = call, .action = platform::FaultAction::kKill});
        change(folder_);
        return 0;
      });
      const bool unbroken = ended == 0;
      // The lock of the dead is taken away after its time.
      const std::string items = Items("FLAGSTATUS", true);
      for (const char* part : {"a.MAI:", "b.MAI:", "n.MAI:", "=\\SEEN "}) {
        EXPECT_NE(items.find(part), std::string::npos) << part << " in " << items;
      }
      EXPECT_TRUE(CheckIndex(folder_, kClassMail).empty());
      if (unbroken) break;
    }
  }
}

}  // namespace
}  // namespace corvane::test
