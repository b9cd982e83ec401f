// Where folders lie, and what making one leaves behind.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

#include "SERVICES/Library/LIBStore/FolderPaths.h"
#include "SERVICES/Library/LIBStore/NewMessageMarkers.h"
#include "SERVICES/Library/LIBStore/StorePaths.h"
#include "platform/Error.h"
#include "platform/Path.h"
#include "tests/support/BuildPlaces.h"
#include "tests/support/SettingsFixture.h"

namespace corvane::test {
namespace {

class FolderPathsTest : public SettingsFixture {
 protected:
  FolderPathsTest() { Set("Mail Root", Directory() / "mail"); }
  [[nodiscard]] std::string Root() const { return Directory() / "mail\\acme"; }

  // The option provider answers this about acme's own root from now on.
  void AnswerPostofficeRoot(const std::string& answer) {
    WriteBytes(Directory() / "answers", "GetOption acme:PostofficeRoot " + answer + "\n");
    setenv("CORVANE_STUB_ANSWERS", (Directory() / "answers").c_str(), 1);
    setenv("CORVANE_STUB_LOG", (Directory() / "calls").c_str(), 1);
    Set("Application Directory", StubLibraries("full"));
    Set("Allow Custom Postoffice Paths", 1U);
  }
};

TEST_F(FolderPathsTest, EachKindOfFolderHasItsTree) {
  const struct {
    std::optional<std::string> folder;
    const char* path;  // below the postoffice's root
    bool isPublic = false;
    const char* withoutPublicFolders = nullptr;  // where it differs
  } cases[] = {
      {std::nullopt, "\\MAILROOT\\anna"},
      {"Inbox", "\\MAILROOT\\anna\\Inbox"},
      {"\\Inbox\\Sub", "\\MAILROOT\\anna\\\\Inbox\\Sub"},
      {"Publication", "\\MAILROOT\\anna\\Publication"},
      {"In Public", "\\MAILROOT\\anna\\In Public"},
      {"\\\\Public", "\\MAILROOT\\anna\\\\\\Public"},
      {"Publi", "\\MAILROOT\\anna\\Publi"},
      {"Public", "\\PUBROOT", true, "\\MAILROOT\\anna\\Public"},
      {"\\Public", "\\PUBROOT", true, "\\MAILROOT\\anna\\\\Public"},
      {"/public/", "\\PUBROOT", true, "\\MAILROOT\\anna\\/public/"},
      {"public/x", "\\PUBROOT\\x", true, "\\MAILROOT\\anna\\public/x"},
      {"\\PUBLIC\\x\\y", "\\PUBROOT\\x\\y", true, "\\MAILROOT\\anna\\\\PUBLIC\\x\\y"},
      {"xPublic\\y", "\\PUBROOT", true, "\\MAILROOT\\anna\\xPublic\\y"},
      {"$FILEROOT", "\\FILEROOT\\anna"},
      {"\\$FileRoot\\", "\\FILEROOT\\anna"},
      {"$fileroot/a\\b", "\\FILEROOT\\anna\\a\\b"},
      {"$FILEROOTS", "\\MAILROOT\\anna\\$FILEROOTS"},
  };
  for (const std::uint32_t enabled : {1U, 0U}) {
    Set("Public Folders Enabled", enabled);
    for (const auto& row : cases) {
      SCOPED_TRACE(row.folder.value_or("(none)") + (enabled != 0 ? "" : " without public folders"));
      const bool differs = enabled == 0 && row.withoutPublicFolders != nullptr;
      EXPECT_EQ(GetFolderPath("acme", "anna", row.folder),
                Root() + (differs ? row.withoutPublicFolders : row.path));
      if (row.folder) {
        EXPECT_EQ(IsPublicFolderName(*row.folder), row.isPublic);
      }
    }
  }
}

TEST_F(FolderPathsTest, PublicFoldersAreOnByThemselves) {
  EXPECT_EQ(GetFolderPath("acme", "anna", "Public"), Root() + "\\PUBROOT");
}

TEST_F(FolderPathsTest, APathThatDoesNotFitIsCut) {
  const std::string path = GetFolderPath("acme", "anna", "Inbox");
  char buffer[1024];
  EXPECT_TRUE(GetFolderPath(buffer, path.size() + 1, "acme", "anna", "Inbox"));
  EXPECT_EQ(buffer, path);
  EXPECT_FALSE(GetFolderPath(buffer, path.size(), "acme", "anna", "Inbox"));
  EXPECT_EQ(buffer, path.substr(0, path.size() - 1));
  EXPECT_FALSE(GetFolderPath(buffer, 0, "acme", "anna", "Inbox"));
}

TEST_F(FolderPathsTest, APostofficeMayHaveARootOfItsOwn) {
  AnswerPostofficeRoot("1 Value=/elsewhere/acme");
  EXPECT_EQ(GetPostofficeRoot("acme"), "/elsewhere/acme");
  EXPECT_EQ(GetFolderPath("acme", "anna", "Public\\x"), "/elsewhere/acme\\PUBROOT\\x");
  EXPECT_EQ(GetPostofficeRoot("other"), Directory() / "mail\\other") << "its option is not set";
  EXPECT_EQ(GetStoreItemPath("acme", "anna", "$VCFROOT", "a.VCF"), Root() + "\\VCFROOT\\a.VCF")
      << "this one stays below the root of all";
  Set("Allow Custom Postoffice Paths", 2U);
  EXPECT_EQ(GetPostofficeRoot("acme"), Root()) << "only 1 allows it";
}

TEST_F(FolderPathsTest, MarkersLieInAMailboxThatWasMoved) {
  AnswerPostofficeRoot("1 Value=" + Directory().Path() + "/moved");
  fs::create_directories(Directory() / "moved/MAILROOT/anna");
  AddNewMessageMarker("acme", "anna", "");
  AddNewMessageMarker("acme", "anna", "");
  EXPECT_TRUE(fs::exists(Directory() / "moved/MAILROOT/anna/_2.NEW"));
  EXPECT_EQ(GetNewMessageCount("acme", "anna", nullptr, 0), 2);
}

TEST_F(FolderPathsTest, ARootThatCannotBeAskedForIsNotGuessed) {
  AnswerPostofficeRoot("-1000");
  EXPECT_THROW((void)GetPostofficeRoot("acme"), std::runtime_error);
  {
    const HeldPostofficeRoot outer("acme", "/known");
    const HeldPostofficeRoot inner("other", "/else");
    EXPECT_EQ(GetPostofficeRoot("acme"), "/known") << "what has begun goes on where it began";
  }
  EXPECT_THROW((void)GetPostofficeRoot("acme"), std::runtime_error);
}

TEST_F(FolderPathsTest, ItemPathsMakeTheirDirectories) {
  EXPECT_EQ(GetStoreItemPath("acme", "anna", "$vcfroot", ""), Root() + "\\VCFROOT");
  EXPECT_TRUE(fs::is_directory(Directory() / "mail/acme/VCFROOT"));
  EXPECT_EQ(GetStoreItemPath("acme", "anna", "Inbox\\Sub", "1.MAI"),
            Root() + "\\MAILROOT\\anna\\Inbox\\Sub\\1.MAI");
  EXPECT_TRUE(fs::is_directory(Directory() / "mail/acme/MAILROOT/anna/Inbox/Sub"));
  EXPECT_EQ(GetStoreItemPath("acme", "anna", "Public\\x", "1.MAI"), Root() + "\\PUBROOT\\x\\1.MAI");
  EXPECT_EQ(GetStoreItemPath("acme", "anna", "$FILEROOT", "f"), Root() + "\\FILEROOT\\anna\\f");
}

TEST_F(FolderPathsTest, FolderNamesAreComparedBehindTheirSeparators) {
  const struct {
    std::optional<std::string_view> a, b;
    bool same;
  } cases[] = {
      {"Inbox", "inbox", true},    {"\\Inbox", "/INBOX", true}, {"\\/\\a/b", "A\\B", true},
      {"Inbox", "Inbox\\", false}, {"a", "b", false},           {"", "\\", true},
      {std::nullopt, "a", true},   {"a", std::nullopt, true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::string(row.a.value_or("(none)")));
    EXPECT_EQ(SameFolderName(row.a, row.b), row.same);
  }
}

TEST_F(FolderPathsTest, ParentsEndBeforeTheLastSeparator) {
  EXPECT_EQ(GetParentPath("a\\b/c"), "a\\b");
  EXPECT_EQ(GetParentPath("a\\b\\"), "a\\b");
  EXPECT_EQ(GetParentPath("a"), "");
}

TEST_F(FolderPathsTest, ANewDirectoryIsShownToItsParent) {
  fs::create_directories(Directory() / "MAILROOT/anna");
  fs::create_directories(Directory() / "PUBROOT");
  fs::create_directories(Directory() / "FILEROOT/anna");
  fs::create_directories(Directory() / "elsewhere");
  const struct {
    const char* name;
    std::string path;  // below the test's directory
    std::int32_t error;
    bool flagged;  // the parent gets _FOLDER.DTY
  } cases[] = {
      {"mail folder", "MAILROOT\\anna\\Inbox", 0, true},
      {"there already", "MAILROOT\\anna\\Inbox", platform::kErrorAlreadyExists, true},
      {"public folder", "PUBROOT\\x", 0, true},
      {"file folder, the other separator", "FILEROOT/anna/x", 0, true},
      {"another tree", "elsewhere\\x", 0, false},
      {"the tree's root", "elsewhere\\MAILROOT", 0, false},
      {"no parent", "MAILROOT\\none\\x", platform::kErrorPathNotFound, false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    platform::SetLastError(0);
    EXPECT_EQ(CreateStoreDirectory(Directory() / row.path), row.error == 0);
    EXPECT_EQ(platform::LastError(), row.error);
    const std::string flag =
        platform::SystemPath(GetParentPath(Directory() / row.path)) + "/_FOLDER.DTY";
    EXPECT_EQ(fs::remove(flag), row.flagged);
  }
}

}  // namespace
}  // namespace corvane::test
