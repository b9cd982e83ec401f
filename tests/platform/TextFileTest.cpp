// Text files: CR LF on disk, "\n" in the program.

#include <vector>

#include "platform/TextFile.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/InDirectory.h"
#include "tests/support/Threads.h"

namespace corvane::platform {
namespace {

using namespace std::string_literals;
using test::ErrorOf;
using test::ReadBytes;
using test::WriteBytes;

std::vector<std::string> ReadLines(const std::string& path, std::size_t limit = SIZE_MAX) {
  std::vector<std::string> lines;
  TextFile file = TextFile::Open(path, TextMode::kRead);
  EXPECT_TRUE(file);
  while (const auto line = file.ReadLine(limit)) lines.emplace_back(*line);
  EXPECT_FALSE(file.Failed());
  return lines;
}

struct ReadCase {
  const char* name;
  std::string bytes;
  std::vector<std::string> lines;
  std::size_t limit = SIZE_MAX;
};
const ReadCase kReads[] = {
    {"Empty", "", {}},
    {"Plain", "a\r\nb\r\n", {"a\n", "b\n"}},
    {"NoEnd", "a\r\nb", {"a\n", "b"}},
    {"LoneLineFeed", "a\nb\n", {"a\n", "b\n"}},
    {"LoneReturn", "a\rb\r\r\nc\r", {"a\rb\r\n", "c\r"}},
    {"OnlyReturns", "\r\r\r", {"\r\r\r"}},
    {"EmptyLines", "\r\n\n\r\n", {"\n", "\n", "\n"}},
    {"NulAnd1A", "a\0b\r\n\x1A\r\nc"s, {"a\0b\n"s, "\x1A\n", "c"}},
    {"HighBytes", "\xFF\xFE\r\n", {"\xFF\xFE\n"}},
    {"Pieces", "abcdef\r\ngh", {"abc", "def", "\n", "gh"}, 3},
    {"PiecesOfReturns", "ab\r\rc\r\n", {"ab", "\r\r", "c\n"}, 2},
    {"LimitNothing", "ab", {"a", "b"}, 0},
};

using TextFileTest = test::InDirectory;

TEST_F(TextFileTest, ReadingTranslatesLineEndsOnly) {
  for (const ReadCase& c : kReads) {
    WriteBytes(root_ / "f", c.bytes);
    EXPECT_EQ(ReadLines(root_ / "f", c.limit), c.lines) << c.name;
  }
}

TEST_F(TextFileTest, BufferBordersDoNotShow) {
  for (std::size_t length = 16380; length <= 16386; ++length) {
    for (const char* end : {"\r\n", "\n", "\r", "\r\r\n"}) {
      const std::string start(length, 'x');
      WriteBytes(root_ / "f", start + end + "tail\r\n");
      const bool ends = end != "\r"s;
      const std::string first = start + (end == "\r\r\n"s ? "\r\n" : ends ? "\n" : "\rtail\n");
      std::vector<std::string> expected = {first};
      if (ends) expected.emplace_back("tail\n");
      EXPECT_EQ(ReadLines(root_ / "f"), expected) << length;
    }
  }
}

TEST_F(TextFileTest, WritingTranslatesEveryLineFeed) {
  WriteBytes(root_ / "f", "old and longer than what comes");
  TextFile file = TextFile::Open(root_ / "f", TextMode::kWrite);
  EXPECT_TRUE(file.Write("a\nb\r\n\n"));
  EXPECT_TRUE(file.Write("\0\x1A"s));
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(ReadBytes(root_ / "f"), "a\r\nb\r\r\n\r\n\0\x1A"s);
}

TEST_F(TextFileTest, AppendersKeepTheirLinesWhole) {
  WriteBytes(root_ / "f", "first\r\n");
  test::Threads(4, [&](int thread) {
    TextFile file = TextFile::Open(root_ / "f", TextMode::kAppend);
    ASSERT_TRUE(file);
    const std::string line(static_cast<std::size_t>(100 + thread), static_cast<char>('a' + thread));
    for (int i = 0; i < 1000; ++i) {
      EXPECT_TRUE(file.Write(line + "\n"));
      EXPECT_TRUE(i % 7 != thread || file.Flush());
    }
  }).Join();
  const std::vector<std::string> lines = ReadLines(root_ / "f");
  ASSERT_EQ(lines.size(), 4001U);
  EXPECT_EQ(lines[0], "first\n");
  for (std::size_t i = 1; i < lines.size(); ++i) {
    const auto thread = static_cast<std::size_t>(lines[i][0] - 'a');
    ASSERT_EQ(lines[i], std::string(100 + thread, lines[i][0]) + "\n");
  }
}

TEST_F(TextFileTest, ModesRefuseTheOtherDirection) {
  EXPECT_EQ(ErrorOf(TextFile::Open(root_ / "none", TextMode::kRead)), kErrorFileNotFound);
  TextFile writer = TextFile::Open(root_ / "f", TextMode::kWrite);
  EXPECT_FALSE(writer.ReadLine());
  TextFile reader = TextFile::Open(root_ / "f", TextMode::kRead);
  EXPECT_TRUE(reader);
  EXPECT_EQ(ErrorOf(reader.Write("x")), kErrorAccessDenied);
  EXPECT_EQ(ErrorOf(TextFile::Open(root_ / "f", TextMode::kWrite, kShareNone)),
            kErrorSharingViolation);
}

}  // namespace
}  // namespace corvane::platform
