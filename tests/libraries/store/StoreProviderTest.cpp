
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexInspection.h"
#include "SERVICES/Library/LIBStoreLibrary/StoreLibrary.h"
#include "platform/FileSystem.h"
#include "platform/SettingsStore.h"
#include "tests/support/StubProviders.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane {
namespace {

// The library finds the folder, the settings and the message by itself, as in a service.
TEST(StoreProvider, PutsMessagesIntoTheIndexOfTheirFolder) {
  const test::TemporaryDirectory root;
  test::StubProviders settings;
  // The library has a settings store of its own to open.
  platform::SettingsStore::UsePath(root / "settings.db");
  setenv("CORVANE_SETTINGS", (root / "settings.db").c_str(), 1);
  settings.Use(test::ShippedLibraries());
  EXPECT_EQ(Lib_Direct_StoreIndex_InsertItem("acme", "anna", "Inbox", "A.MAI"), 0)
      << "a mail root that is not there yet is asked for again";
  test::StoreSetting("Mail Root", root.Path());
  const std::string inbox = root / "acme/MAILROOT/anna/Inbox";
  ASSERT_TRUE(platform::CreateDirectories(inbox));
  for (const char* name : {"A.MAI", "B.MAI"}) {
    test::WriteBytes(inbox + "/" + name, "Subject: x\r\n\r\n");
  }
  EXPECT_EQ(Lib_StoreLibrary_Init(), 1);
  const auto insert = [](const char* mailbox, const char* folder, const char* item) {
    return Lib_Direct_StoreIndex_InsertItem("acme", mailbox, folder, item);
  };
  EXPECT_EQ(insert("anna", "\\Inbox", "A.MAI"), 1);
  test::WriteBytes(inbox + "/C.MAI", "Subject: x\r\n\r\n");
  EXPECT_EQ(insert("anna", "Inbox", "C.MAI"), 1);
  EXPECT_TRUE(CheckIndex(inbox, kClassMail).empty());
  EXPECT_EQ(insert("anna", "Inbox", "none.MAI"), 0);
  EXPECT_EQ(insert("anna", "..\\anna\\Inbox", "C.MAI"), 0);
  EXPECT_EQ(insert("..", "Inbox", "C.MAI"), 0);
  EXPECT_EQ(insert("bert", "Inbox", "C.MAI"), 0);
  EXPECT_EQ(Lib_StoreIndex_Init(), 0) << "not exported";
  EXPECT_EQ(Lib_StoreLibrary_UnInit(), 1);
}

}  // namespace
}  // namespace corvane
