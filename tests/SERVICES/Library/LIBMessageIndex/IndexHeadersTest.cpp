// The headers that carry an index's knowledge in a message file, and what a death on the way
// leaves.
#include <gtest/gtest.h>

#include <filesystem>

#include "SERVICES/Library/LIBMessageIndex/IndexHeaders.h"
#include "platform/File.h"
#include "platform/FileSystem.h"
#include "tests/SERVICES/Library/LIBMessageIndex/MessageIndexTestSupport.h"
#include "tests/support/FaultWalk.h"

namespace corvane::test {
namespace {

class IndexHeadersTest : public MessageFixture {
 protected:
  IndexHeadersTest() { Set("UID Branding Enabled", 1U); }
  RewriteResult Uid(std::uint32_t brand, std::uint32_t uid, std::string_view flags = {}) {
    return SetMessageUID(Folder(), kName, brand, uid, flags);
  }
  RewriteResult Flags(std::string_view flags, bool dropUID = false) {
    return SetMessageFlags(Folder(), kName, flags, dropUID);
  }
  RewriteResult Strip() { return StripIndexHeaders(Folder(), kName); }
  [[nodiscard]] std::size_t FilesInFolder() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(Folder()), fs::directory_iterator()));
  }
};

struct RewriteCase {
  std::string_view name, before;
  RewriteResult (*rewrite)(std::string_view folder, std::string_view file);
  std::string_view after;
};

using View = std::string_view;
constexpr auto kUid = [](View f, View name) { return SetMessageUID(f, name, 0, 12, ""); };
constexpr auto kBrandAndFlags = [](View f, View name) {
  return SetMessageUID(f, name, 4294967295U, 12, "\\SEEN $a");
};
constexpr auto kFlags = [](View f, View name) { return SetMessageFlags(f, name, "\\SEEN", false); };
constexpr auto kFlagsWithoutUid = [](View f, View name) {
  return SetMessageFlags(f, name, "\\SEEN", true);
};
constexpr auto kForgedFlags = [](View f, View name) {
  return SetMessageFlags(f, name, "\\SEEN\r\nTo: x\r\n\r\n", false);
};

const RewriteCase kRewrites[] = {
    {"UidComesLast", "To: x\r\n\r\nbody\n", kUid, "To: x\r\nX-UID: 12\r\n\r\nbody\n"},
    {"BrandAndFlagsCome", "To: x\r\n\r\nbody", kBrandAndFlags,
     "To: x\r\nX-UID: 4294967295.12\r\nX-CVTempFlags: \\SEEN $a\r\n\r\nbody"},
    {"UidIsReplacedInPlace", "x-uid: 1.2\r\nTo: x\r\n\r\nX-UID: 3\r\n", kUid,
     "X-UID: 12\r\nTo: x\r\n\r\nX-UID: 3\r\n"},
    {"OneUidIsEnough", "X-UID: 1\r\nTo: x\r\nX-UID: 2\r\n\r\n", kUid, "X-UID: 12\r\nTo: x\r\n\r\n"},
    {"FlagsThatAreThereStay", "X-CVTempFlags: \\DELETED\r\n\r\n", kBrandAndFlags,
     "X-CVTempFlags: \\DELETED\r\nX-UID: 4294967295.12\r\n\r\n"},
    {"FoldedRestGoesWithItsHeader", "X-UID: 1\r\n\t.2\r\nTo: x\r\n y\r\n\r\n", kUid,
     "X-UID: 12\r\nTo: x\r\n y\r\n\r\n"},
    {"FlagsCome", "To: x\r\n\r\n", kFlags, "To: x\r\nX-CVTempFlags: \\SEEN\r\n\r\n"},
    {"FlagsAreReplaced", "X-CVTempFlags: \\DELETED \\SEEN\r\nX-UID: 1\r\n\r\n", kFlags,
     "X-CVTempFlags: \\SEEN\r\nX-UID: 1\r\n\r\n"},
    {"UidIsDroppedWithThem", "X-CVTempFlags: a\r\nX-UID: 1\r\nTo: x\r\n\r\n", kFlagsWithoutUid,
     "X-CVTempFlags: \\SEEN\r\nTo: x\r\n\r\n"},
    {"FlagsAreOneLine", "To: x\r\n\r\n", kForgedFlags,
     "To: x\r\nX-CVTempFlags: \\SEEN  To: x    \r\n\r\n"},
    {"BothAreStripped", "X-UID: 1\r\nTo: x\r\nX-CVTempFlags: a\r\n\r\nX-UID: 1\r\n",
     StripIndexHeaders, "To: x\r\n\r\nX-UID: 1\r\n"},
    {"LineFeedsAreKept", "To: x\nX-UID: 1\n\nbody\n", StripIndexHeaders, "To: x\n\nbody\n"},
    {"WithoutEmptyLineItComesAtTheEnd", "To: x", kUid, "To: x\r\nX-UID: 12\r\n"},
    {"EmptyFirstLineEndsNothing", "\r\nTo: x\r\n\r\n", kUid, "\r\nTo: x\r\nX-UID: 12\r\n\r\n"},
    {"NulIsABodyByte", std::string_view("X-UID: 1\r\n\r\na\0b", 15), StripIndexHeaders,
     std::string_view("\r\na\0b", 5)},
};

TEST_F(IndexHeadersTest, RewritesHeadersAndNothingElse) {
  for (const RewriteCase& row : kRewrites) {
    SCOPED_TRACE(row.name);
    Write(row.before);
    EXPECT_EQ(row.rewrite(Folder(), kName), RewriteResult::kRewritten);
    EXPECT_EQ(Read(), row.after);
    EXPECT_EQ(row.rewrite(Folder(), kName), RewriteResult::kUntouched);
    EXPECT_EQ(Read(), row.after);
  }
  EXPECT_EQ(FilesInFolder(), 1U);
}

TEST_F(IndexHeadersTest, NothingHappensWithoutBranding) {
  Set("UID Branding Enabled", 0U);
  const std::string message = "X-UID: 1\r\nX-CVTempFlags: a\r\n\r\n";
  Write(message);
  EXPECT_EQ(Uid(1, 2, "x"), RewriteResult::kUntouched);
  EXPECT_EQ(Flags("x", true), RewriteResult::kUntouched);
  EXPECT_EQ(Strip(), RewriteResult::kUntouched);
  EXPECT_FALSE(HasTempFlags(Folder(), kName));
  EXPECT_EQ(Read(), message);
}

TEST_F(IndexHeadersTest, TempFlagsAreAHeader) {
  Write("To: x\r\nx-cvtempflags: \\SEEN\r\n\r\n");
  EXPECT_TRUE(HasTempFlags(Folder(), kName));
  Write("To: x\r\n\r\nX-CVTempFlags: \\SEEN\r\n");
  EXPECT_FALSE(HasTempFlags(Folder(), kName));
  EXPECT_FALSE(HasTempFlags(Folder(), "none.MAI"));
}

TEST_F(IndexHeadersTest, TheLastWriteTimeStays) {
  Write("To: x\r\n\r\n");
  ASSERT_TRUE(platform::SetLastWriteTime(Message(), 1'500'000'000, 123'456'789));
  EXPECT_EQ(Uid(0, 1), RewriteResult::kRewritten);
  const auto info = platform::GetFileInfo(Message());
  ASSERT_TRUE(info);
  EXPECT_EQ(info->lastWriteTime, 1'500'000'000);
  EXPECT_EQ(info->lastWriteNanoseconds, 123'456'789);
}

TEST_F(IndexHeadersTest, FailuresAreToldAndLeaveTheMessage) {
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(Uid(0, 1), RewriteResult::kFailed);
  Write("To: x\r\n\r\n");
  {
    // Somebody holds the message against deletion.
    auto held = platform::File::Open(Message(), platform::Access::kRead, platform::kShareReadWrite,
                                     platform::Disposition::kOpenExisting);
    EXPECT_EQ(Uid(0, 1), RewriteResult::kFailed);
  }
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "Could not open message file for input\r\nCould not open message file for writing\r\n");
  EXPECT_EQ(Read(), "To: x\r\n\r\n");
  EXPECT_EQ(FilesInFolder(), 1U);
}

TEST_F(IndexHeadersTest, SetFlagsIsLogged) {
  Set("Debug Enabled", 2U, "CONNECTORS\\SF");
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(Flags("\\SEEN"), RewriteResult::kFailed);
  const std::string printed = ::testing::internal::GetCapturedStdout();
  const std::string path = Folder() + "\\" + kName + "\n";
  EXPECT_NE(printed.find("Setting Message Flags for: " + path), std::string::npos) << printed;
  EXPECT_NE(printed.find("Could not open message file for input: " + path), std::string::npos);
}

// A rewrite that breaks or dies anywhere leaves the old message or the new one, and no other name
// that a scan would take for a message.
TEST_F(IndexHeadersTest, EveryFaultLeavesAWholeMessage) {
  const std::string rest = "To: x\r\n\r\n" + std::string(300'000, 'b');
  const std::string after = "X-UID: 2\r\n" + rest;
  RewriteResult result = RewriteResult::kUntouched;
  WalkRewrite(
      Message(), "X-UID: 1\r\n" + rest, after,
      [&] {
        result = RewriteResult::kUntouched;
        result = Uid(0, 2);
        return result == RewriteResult::kRewritten;
      },
      [&] {
        EXPECT_FALSE(result == RewriteResult::kFailed && Read() == after);
        for (const auto& entry : fs::directory_iterator(Folder())) {
          const std::string name = entry.path().filename().string();
          EXPECT_TRUE(name == kName || name.starts_with('_')) << name;
        }
      });
}

}  // namespace
}  // namespace corvane::test
