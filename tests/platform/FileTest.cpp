// Open files: dispositions, reading, writing, whole reads.
#include <sys/stat.h>

#include <filesystem>
#include <tuple>

#include "platform/File.h"
#include "platform/FileSystem.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/InDirectory.h"

namespace corvane::platform {
namespace {

using namespace std::string_literals;
using test::ErrorOf;
using test::ReadBytes;
using test::TemporaryDirectory;
using test::WriteBytes;

TEST(File, DispositionsMakeEmptyOrLeave) {
  // A disposition, whether the file is there, the error, and what is in the file afterwards.
  const std::tuple<Disposition, bool, std::int32_t, std::string_view> cases[] = {
      {Disposition::kOpenExisting, true, 0, "old"},
      {Disposition::kOpenExisting, false, kErrorFileNotFound, ""},
      {Disposition::kCreateNew, true, kErrorFileExists, "old"},
      {Disposition::kCreateNew, false, 0, ""},
      {Disposition::kCreateAlways, true, 0, ""},
      {Disposition::kCreateAlways, false, 0, ""},
      {Disposition::kOpenAlways, true, 0, "old"},
      {Disposition::kOpenAlways, false, 0, ""},
      {Disposition::kTruncateExisting, true, 0, ""},
      {Disposition::kTruncateExisting, false, kErrorFileNotFound, ""},
  };
  for (const auto& [disposition, there, error, after] : cases) {
    const TemporaryDirectory root;
    const std::string path = root / "f";
    if (there) WriteBytes(path, "old");
    SetLastError(0);
    const File file = File::Open(path, Access::kReadWrite, kShareNone, disposition);
    EXPECT_EQ(file.IsOpen(), error == 0);
    EXPECT_EQ(LastError(), error);
    EXPECT_EQ(ReadBytes(path), after);
    EXPECT_EQ(std::filesystem::exists(path), there || error == 0);
  }
}

using FileTest = test::InDirectory;

TEST_F(FileTest, NothingIsEmptiedBeforeTheClaimIsHeld) {
  const std::string path = root_ / "f";
  WriteBytes(path, "old");
  const File holder = File::Open(path, Access::kRead, kShareRead, Disposition::kOpenExisting);
  for (const Disposition disposition :
       {Disposition::kCreateAlways, Disposition::kTruncateExisting}) {
    EXPECT_EQ(ErrorOf(File::Open(path, Access::kWrite, kShareNone, disposition)),
              kErrorSharingViolation);
    EXPECT_EQ(ReadBytes(path), "old");
  }
}

TEST_F(FileTest, OpeningWhatCannotBeOpenedTellsWhy) {
  std::filesystem::create_directory(root_ / "dir");
  WriteBytes(root_ / "file", "");
  const std::pair<std::string, std::int32_t> cases[] = {
      {root_ / "dir", kErrorAccessDenied},
      {root_ / "file\\x", kErrorPathNotFound},
      {root_ / "none\\x", kErrorPathNotFound},
      {root_ / ("a\0b"s), kErrorInvalidName},
      {root_ / std::string(256, 'x'), kErrorFilenameTooLong},
      {"", kErrorPathNotFound},
  };
  for (const auto& [path, error] : cases) {
    const auto errorOfOpening = [&path = path](Access access, Disposition disposition) {
      SetLastError(0);
      return ErrorOf(File::Open(path, access, kShareAll, disposition));
    };
    for (int number = 0; number < 5; ++number) {
      const auto disposition = static_cast<Disposition>(number);
      const bool exists = disposition == Disposition::kCreateNew && error == kErrorAccessDenied;
      EXPECT_EQ(errorOfOpening(Access::kReadWrite, disposition), exists ? kErrorFileExists : error)
          << path << " " << number;
    }
    EXPECT_EQ(errorOfOpening(Access::kRead, Disposition::kOpenExisting), error) << path;
  }
}

TEST_F(FileTest, AccessIsWhatWasAskedFor) {
  WriteBytes(root_ / "f", "old");
  char byte = 0;
  File reader = File::Open(root_ / "f", Access::kRead, kShareAll, Disposition::kOpenExisting);
  EXPECT_EQ(ErrorOf(reader.Write("x")), kErrorAccessDenied);
  EXPECT_FALSE(reader.SetEndOfFile());
  File writer = File::Open(root_ / "f", Access::kWrite, kShareAll, Disposition::kOpenExisting);
  EXPECT_EQ(writer.Read(&byte, 1), -1);
  EXPECT_EQ(LastError(), kErrorAccessDenied);
  EXPECT_FALSE(writer.ReadAll());
  File none;
  EXPECT_EQ(ErrorOf(none.Write("x")), kErrorInvalidHandle);
}

TEST_F(FileTest, WholeReadsEndWhereTheFileEnds) {
  for (const std::size_t size : {0U, 1U, 8191U, 8192U, 8193U, 16384U, 1'000'000U}) {
    const std::string bytes(size, 'x');
    WriteBytes(root_ / "f", bytes);
    File file = File::Open(root_ / "f", Access::kRead, kShareAll, Disposition::kOpenExisting);
    ASSERT_TRUE(file.Seek(size / 2));
    EXPECT_EQ(file.ReadAll(), bytes);
    EXPECT_EQ(file.ReadAll(size), bytes);
    if (size == 0) continue;
    EXPECT_EQ(ErrorOf(file.ReadAll(size - 1)), kErrorNotEnoughMemory);
  }
}

TEST_F(FileTest, IsRewrittenInPlace) {
  WriteBytes(root_ / "f", "0123456789");
  File file = File::Open(root_ / "f", Access::kReadWrite, kShareNone, Disposition::kOpenExisting);
  EXPECT_TRUE(file.Seek(2));
  EXPECT_TRUE(file.Write("ab"));
  EXPECT_EQ(file.Position(), 4);
  char bytes[3] = {};
  EXPECT_EQ(file.Read(bytes, 2), 2);
  EXPECT_STREQ(bytes, "45");
  EXPECT_TRUE(file.SetEndOfFile());
  EXPECT_TRUE(file.Flush());
  ASSERT_TRUE(file.Info());
  EXPECT_EQ(file.Info()->size, 6U);
  EXPECT_FALSE(file.Info()->directory);
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(ReadBytes(root_ / "f"), "01ab45");
}

TEST_F(FileTest, AMovedFileKeepsItsClaim) {
  const auto open = [&] {
    return File::Open(root_ / "f", Access::kReadWrite, kShareNone, Disposition::kOpenAlways);
  };
  File first = open();
  File second = std::move(first);
  EXPECT_FALSE(open());
  second = File();
  second = open();
  EXPECT_TRUE(second);
  EXPECT_FALSE(open());
}

}  // namespace
}  // namespace corvane::platform
