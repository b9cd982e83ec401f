// Delivery that keeps the folder's index itself, by the real programs.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/endtoend/Installation.h"

namespace corvane::test {
namespace {

struct ModeCase {
  const char* name;
  const char* mode;
  bool streams;
  bool leavesCacheFlag;
};
const ModeCase kModes[] = {
    {"ReindexWithDocuments", "2", false, false}, {"ReindexWithStreams", "2", true, false},
    {"ReindexAndCache", "3", true, true},        {"InsertWithDocuments", "4", false, false},
    {"InsertWithStreams", "4", true, false},
};

TEST(IndexTest, EachModeLeavesASoundIndexOfAllThatWasDelivered) {
  for (const ModeCase& c : kModes) {
    SCOPED_TRACE(c.name);
    const Installation installation;
    installation.AddMailboxes("box", 1);
    installation.Set(".", "Store Event Notification Mode", c.mode);
    installation.Set("CONNECTORS\\SF", "Index Files Enabled", "1");
    for (const char* name :
         {"Use XML Stream Index Serialisation", "Use XML Stream Index Deserialisation"}) {
      installation.Set(".", name, c.streams ? "1" : "0");
    }
    for (unsigned number = 1; number <= 6; ++number) {
      installation.PutRaw(NameOf(number), CommandFor(NameOf(number), "[SF:acme/box0]"),
                          "Subject: message " + std::to_string(number) + "\r\n\r\nbody\r\n");
    }
    installation.RunUntilEmpty();
    const std::string inbox = fs::path(installation.MailboxFile("box0", NameOf(1))).parent_path();
    EXPECT_EQ(installation.Cvctl({"index", "check", inbox}).output, "sound\n");
    const std::string dump = installation.MustCvctl({"index", "dump", inbox, "--json"});
    for (unsigned number = 1; number <= 6; ++number) {
      EXPECT_NE(dump.find("\"message " + std::to_string(number) + "\""), std::string::npos)
          << number;
    }
    EXPECT_FALSE(fs::exists(inbox + "/_CHANGE.DTY"));
    EXPECT_FALSE(fs::exists(inbox + "/_index.blk"));
    EXPECT_EQ(fs::exists(inbox + "/_CACHE.DTY"), c.leavesCacheFlag);
  }
}

}  // namespace
}  // namespace corvane::test
