#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexCore/FolderListing.h"
#include "tests/support/SettingsFixture.h"

namespace corvane {
namespace {

class Listing : public test::SettingsFixture {
 protected:
  // The names, of files that hold their names.
  static std::vector<std::string> Looked(FolderListing* listing) {
    EXPECT_TRUE(listing->Look());
    std::vector<std::string> names;
    for (const platform::FoundFile& file : listing->Files()) {
      names.push_back(file.name);
      EXPECT_EQ(file.info.size, file.name.size());
    }
    return names;
  }
};

TEST_F(Listing, KnowsItsFilesInAnyOrderOfQuestions) {
  const std::vector<std::string> names = {"A.MAI",
                                          "a.MAI",
                                          "aB.MAI",
                                          "longer-than-8-A.MAI",
                                          "longer-than-8-b.MAI",
                                          "LONGER-than-8-c.MAI",
                                          "Z.MAI",
                                          "\xC3\xBC.MAI"};
  std::vector<std::string> made = names;
  std::mt19937 random(4711);
  std::shuffle(made.begin(), made.end(), random);
  for (const std::string& name : made) test::WriteBytes(Directory() / name, name);
  for (const char* other : {"_x.MAI", ".x.MAI", "x.VCF"}) test::WriteBytes(Directory() / other, "");
  test::fs::create_directory(Directory() / "directory.MAI");
  FolderListing listing(Directory().Path());
  for (int round = 0; round < 100; ++round) {
    const std::string& name = names[random() % names.size()];
    EXPECT_TRUE(listing.Has(name)) << name;
    EXPECT_FALSE(listing.Has(name.substr(1))) << name;
  }
  for (const char* other : {"_x.MAI", "x.VCF", "z.MAI", "", "ZZ.MAI"}) {
    EXPECT_FALSE(listing.Has(other)) << other;
  }
  EXPECT_EQ(Looked(&listing), names);
}

TEST_F(Listing, LooksAtWhatIsThereByThen) {
  for (const char* name : {"a.MAI", "b.MAI", "c.MAI"}) test::WriteBytes(Directory() / name, name);
  FolderListing listing(Directory().Path());
  EXPECT_TRUE(listing.Has("b.MAI"));
  test::fs::remove(Directory() / "b.MAI");
  test::WriteBytes(Directory() / "c.MAI", "changed");
  test::WriteBytes(Directory() / "d.MAI", "late");
  ASSERT_TRUE(listing.Look());
  ASSERT_EQ(listing.Files().size(), 2U);
  EXPECT_EQ(listing.Files()[1].info.size, 7U);
  EXPECT_FALSE(listing.Has("b.MAI"));
  test::WriteBytes(Directory() / "c.MAI", "c.MAI");
  test::WriteBytes(Directory() / "d.MAI", "d.MAI");
  EXPECT_EQ(Looked(&listing), (std::vector<std::string>{"a.MAI", "c.MAI"}));
  listing.Forget();
  EXPECT_EQ(Looked(&listing), (std::vector<std::string>{"a.MAI", "c.MAI", "d.MAI"}));
}

TEST_F(Listing, TellsThatAFolderCannotBeRead) {
  FolderListing listing(Directory().Path() + "\\none");
  EXPECT_FALSE(listing.Has("a.MAI"));
  EXPECT_FALSE(listing.Look());
}

}  // namespace
}  // namespace corvane
