// FileManagementTest.cpp -- file calls that try again: how often, how long, what they log.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "CLIENTS/CVMAPI/CVMSLIB/common/FileManagement.h"
#include "CLIENTS/CVMAPI/CVMSLIB/common/Identifiers.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TestClock.h"

namespace corvane {
namespace {

using platform::Access;
using platform::Disposition;
using platform::File;

std::vector<std::string> lines;
std::int32_t level = 0;

// A clock that sets a holder's file free once so much has been slept.
class FreeingClock : public test::TestClock {
 public:
  void Sleep(std::int64_t milliseconds) override {
    VirtualClock::Sleep(milliseconds);
    if (Slept() >= freeAfter) holder = File();
  }
  File holder;
  std::int64_t freeAfter = INT64_MAX;
};

class FileManagementTest : public testing::Test {
 protected:
  FileManagementTest() {
    lines.clear();
    level = 10;
    SetFileManagementLog({[](std::string_view text) {
                            lines.emplace_back(text);
                            platform::SetLastError(0);
                          },
                          [](std::int32_t above) { return level > above; }});
    test::WriteBytes(path_, "x");
  }
  ~FileManagementTest() override { SetFileManagementLog({}); }

  void Hold(std::int64_t freeAfter = INT64_MAX) {
    clock_.freeAfter = freeAfter;
    clock_.holder =
        File::Open(path_, Access::kReadWrite, platform::kShareNone, Disposition::kOpenExisting);
    ASSERT_TRUE(clock_.holder);
  }

  test::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "held.txt";
  FreeingClock clock_;
};

TEST_F(FileManagementTest, OpensTryTenTimesTwoSecondsApart) {
  Hold();
  EXPECT_FALSE(
      RetryCreateFile(path_, Access::kRead, platform::kShareRead, Disposition::kOpenExisting));
  EXPECT_EQ(platform::LastError(), platform::kErrorSharingViolation);
  EXPECT_EQ(clock_.Slept(), 18'000);
  EXPECT_FALSE(RetryFopen(path_, platform::TextMode::kRead));
  EXPECT_EQ(clock_.Slept(), 36'000);
  clock_.freeAfter = 40'000;
  EXPECT_TRUE(RetryFopen(path_, platform::TextMode::kRead));
  EXPECT_EQ(clock_.Slept(), 40'000) << "ends with the first success";
}

TEST_F(FileManagementTest, AMissingFileIsAnsweredAtOnce) {
  EXPECT_EQ(RetryDeleteFile(directory_ / "none"), 1);
  EXPECT_EQ(DeleteWithRetry(directory_ / "none", 1, 15), 1);
  EXPECT_EQ(DeleteWithRetry(directory_ / "none/none", 1, 15), 1);
  EXPECT_EQ(MoveWithRetry(directory_ / "none", directory_ / "target", 1, 15), 0);
  EXPECT_EQ(clock_.Slept(), 0);
  EXPECT_TRUE(lines.empty());
}

TEST_F(FileManagementTest, RetryDeleteFileLogsBeforeEachFurtherTry) {
  Hold();
  EXPECT_EQ(RetryDeleteFile(path_), 0);
  EXPECT_EQ(platform::LastError(), platform::kErrorSharingViolation);
  EXPECT_EQ(clock_.Slept(), 18'000);
  ASSERT_EQ(lines.size(), 9U);
  EXPECT_EQ(lines[0], "Unable to remove file: " + path_ + ". Error: 32\n");
  lines.clear();
  level = 9;
  clock_.freeAfter = clock_.Slept() + 2000;
  EXPECT_EQ(RetryDeleteFile(path_), 1);
  EXPECT_TRUE(lines.empty());
  EXPECT_FALSE(platform::FileExists(path_));
}

TEST_F(FileManagementTest, DeleteWithRetryWarnsEveryFifthTryAndGivesUp) {
  Hold();
  EXPECT_EQ(DeleteWithRetry(path_, 1, 15), 0);
  EXPECT_EQ(clock_.Slept(), 15'000);
  const std::string warning =
      "CV-WXXXX: DeleteWithRetry Warning: An error occurred when attempting to delete file " +
      path_ + ". Error: 32\n";
  const std::string abandoned =
      "CV-WXXXX: DeleteWithRetry Error:  Abandoning attempts to delete file " + path_ +
      ". Error: 32\n";
  EXPECT_EQ(lines, (std::vector<std::string>{warning, warning, warning, abandoned}));
  EXPECT_EQ(DeleteWithRetry(path_, 0, 15), 0);
  EXPECT_EQ(clock_.Slept(), 15'000) << "without retry";
  EXPECT_EQ(lines.size(), 5U);
  clock_.freeAfter = 18'000;
  EXPECT_EQ(DeleteWithRetry(path_, 1, 15), 1);
  EXPECT_EQ(clock_.Slept(), 18'000);
}

TEST_F(FileManagementTest, MoveWithRetryWarnsAndGivesUp) {
  const std::string target = directory_ / "target.txt";
  Hold();
  EXPECT_EQ(MoveWithRetry(path_, target, 1, 1), 0);
  EXPECT_EQ(lines, (std::vector<std::string>{
                       "CV-WXXXX: Warning: Unable to move " + path_ + " Activity File to " +
                           target + " at this time (but will keep retrying). Error: 32\n",
                       "CV-WXXXX: Warning: A Timeout occurred when attempting to move " + path_ +
                           " Activity File to " + target + ". Error: 32\n"}));
  clock_.freeAfter = clock_.Slept() + 1000;
  EXPECT_EQ(MoveWithRetry(path_, target, 1, 15), 1);
  EXPECT_EQ(test::ReadBytes(target), "x");
}

TEST(Identifiers, MessageIdsHaveTheirFormAndTheirSize) {
  char id[37];
  ASSERT_EQ(NewMessageId(id, sizeof(id)), 1);
  EXPECT_EQ(std::strlen(id), 36U);
  EXPECT_EQ(std::string(id).find_first_not_of("0123456789ABCDEF"), 32U);
  EXPECT_STREQ(id + 32, ".MAI");
  char small[36] = "x";
  EXPECT_EQ(NewMessageId(small, sizeof(small)), 0);
  EXPECT_STREQ(small, "");
}

TEST(Identifiers, ServerNameIsCutToItsBuffer) {
  char whole[256];
  char cut[2];
  ASSERT_EQ(GetServerName(whole, sizeof(whole)), 1);
  ASSERT_EQ(GetServerName(cut, sizeof(cut)), 1);
  EXPECT_EQ(std::string(cut), std::string(whole).substr(0, 1));
}

}  // namespace
}  // namespace corvane
