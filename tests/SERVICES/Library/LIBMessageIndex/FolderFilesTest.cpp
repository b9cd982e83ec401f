// What the indexer keeps of a folder beside its index: brand, counts, stylesheets.
#include <gtest/gtest.h>

#include <utility>

#include "SERVICES/Library/LIBMessageIndex/FolderBrand.h"
#include "SERVICES/Library/LIBMessageIndex/FolderDetailsFile.h"
#include "SERVICES/Library/LIBMessageIndex/IndexStylesheets.h"
#include "platform/FileSystem.h"
#include "tests/SERVICES/Library/LIBMessageIndex/MessageIndexTestSupport.h"

namespace corvane::test {
namespace {

class FolderFilesTest : public MessageFixture {
 protected:
  FolderFilesTest() { Set("Index Files Enabled", 1U, "CONNECTORS\\SF"); }
  [[nodiscard]] std::string DetailsPath() const { return Folder() + "/_FOLDER.DAT"; }
};

TEST_F(FolderFilesTest, BrandIsWhenTheFolderWasMade) {
  const std::pair<std::int64_t, std::uint32_t> cases[] = {
      {1'396'310'401, 1'396'310'401U},
      {1'700'000'000, 1'700'000'000U},
      {1'396'310'400, 0x53204000U},  // 130,407,840,000,000,000 in 100 ns, its low half
  };
  for (const auto& [created, brand] : cases) {
    ASSERT_TRUE(platform::SetCreationTime(Folder(), created));
    EXPECT_EQ(FolderBrand(Folder()), brand) << created;
  }
  EXPECT_EQ(FolderBrand(Folder() + "/none"), 0U);
}

TEST_F(FolderFilesTest, DetailsAreThirteenWords) {
  FolderDetails details;
  details.TotalCount = 3;
  details.SeenCount = 2;
  details.FirstSeenPosition = 0x01020304;
  details.LastUID = 9;
  EXPECT_TRUE(WriteFolderDetailsFile(Folder(), details));
  const std::string bytes = ReadBytes(DetailsPath());
  ASSERT_EQ(bytes.size(), 52U);
  EXPECT_EQ(bytes.substr(20, 12), std::string("\4\3\2\1\3\0\0\0\2\0\0\0", 12));
  EXPECT_EQ(bytes[44], 9);
  FolderDetails read;
  EXPECT_TRUE(ReadFolderDetailsFile(Folder(), read));
  EXPECT_EQ(read.SeenCount, 2U);
  EXPECT_EQ(read.LastUID, 9U);
}

TEST_F(FolderFilesTest, ImpossibleCountsAreLimited) {
  FolderDetails details;
  const struct {
    std::uint32_t FolderDetails::*count;
    std::uint32_t before, after;
  } kCounts[] = {{&FolderDetails::TotalCount, 5, 5},
                 {&FolderDetails::DeletedCount, 6, 5},
                 {&FolderDetails::AnsweredCount, 0xFFFFFFFF, 0},
                 {&FolderDetails::SeenCount, 5, 5},
                 {&FolderDetails::RecentCount, 99, 5},
                 {&FolderDetails::Reserved9, 6, 5},
                 {&FolderDetails::FlaggedCount, 77, 77}};  // nobody limits it
  for (const auto& row : kCounts) details.*row.count = row.before;
  NormaliseFolderDetails(details);
  for (const auto& row : kCounts) EXPECT_EQ(details.*row.count, row.after) << row.before;
  details.TotalCount = 0x80000000;
  NormaliseFolderDetails(details);
  EXPECT_EQ(details.TotalCount, 0U);
  EXPECT_EQ(details.SeenCount, 0U);
}

TEST_F(FolderFilesTest, WhatCannotBeReadIsZeroAndWhatMayNotBeIsLeft) {
  for (const std::uint32_t enabled : {1U, 0U}) {
    Set("Index Files Enabled", enabled, "CONNECTORS\\SF");
    WriteBytes(DetailsPath(), std::string(51, '\1'));
    FolderDetails details;
    details.LastUID = 7;
    EXPECT_FALSE(ReadFolderDetailsFile(Folder(), details));
    EXPECT_EQ(details.LastUID, enabled == 1 ? 0U : 7U);
  }
}

TEST_F(FolderFilesTest, FailuresAreLoggedButNotAMissingFile) {
  Set("Debug Enabled", 2U, "CONNECTORS\\SF");
  const std::string gone = Folder() + "/none";
  FolderDetails details;
  details.LastUID = 7;
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(ReadFolderDetailsFile(Folder(), details));
  EXPECT_EQ(details.LastUID, 0U);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(ReadFolderDetailsFile(gone, details));
  EXPECT_FALSE(WriteFolderDetailsFile(gone, details));
  const std::string printed = ::testing::internal::GetCapturedStdout();
  const std::string line = "Cache File: " + gone + "\\_FOLDER.DAT could not be ";
  EXPECT_NE(printed.find(line + "opened. Error: 3\n"), std::string::npos) << printed;
  EXPECT_NE(printed.find(line + "written. Error: 3\n"), std::string::npos) << printed;
}

TEST(IndexStylesheets, KeysAreQuoted) {
  const std::string text = SortStylesheet("SUBJECT[. < \"a&b\"]", "text", "descending");
  EXPECT_NE(text.find("<xsl:sort select=\"SUBJECT[. &lt; &quot;a&amp;b&quot;]\" data-type=\"text\" "
                      "order=\"descending\"/>"),
            std::string::npos);
}

}  // namespace
}  // namespace corvane::test
