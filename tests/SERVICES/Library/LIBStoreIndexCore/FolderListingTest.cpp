#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexCore/FolderListing.h"
#include "tests/support/SettingsFixture.h"

namespace corvane {
namespace {

using Listing = test::SettingsFixture;

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
  for (const char* other : {"_x.MAI", "x.VCF", "directory.MAI", "z.MAI", "", "ZZ.MAI"}) {
    EXPECT_FALSE(listing.Has(other)) << other;
  }
  ASSERT_TRUE(listing.List());
  std::vector<std::string> order;
  for (const platform::FoundFile& file : listing.Files()) {
    order.push_back(file.name);
    EXPECT_EQ(file.info.size, file.name.size());
  }
  EXPECT_EQ(order, names);
}

TEST_F(Listing, TellsThatAFolderCannotBeRead) {
  FolderListing listing(Directory().Path() + "\\none");
  EXPECT_FALSE(listing.Has("a.MAI"));
  EXPECT_FALSE(listing.List());
}

}  // namespace
}  // namespace corvane
