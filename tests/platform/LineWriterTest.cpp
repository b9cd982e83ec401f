// LineWriterTest.cpp -- lines to a reader that reads, and to one that doesn't.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/LineWriter.h"
#include "platform/Reports.h"

namespace corvane::platform {
namespace {

using std::chrono::milliseconds;

// A pipe and a writer into it, which goes on until the process ends.
class LineWriterTest : public testing::Test {
 protected:
  LineWriterTest() {
    EXPECT_EQ(pipe(ends_), 0);
    writer_ = new LineWriter(ends_[1]);
    EXPECT_TRUE(writer_->Start());
  }

  std::string Read() {
    char buffer[65536];
    const ssize_t got = read(ends_[0], buffer, sizeof buffer);
    return got > 0 ? std::string(buffer, static_cast<std::size_t>(got)) : "";
  }

  LineWriter* writer_ = nullptr;
  int ends_[2] = {};
};

TEST_F(LineWriterTest, LinesArriveInOrderWithoutAFlush) {
  writer_->Put("one\n");
  EXPECT_EQ(Read(), "one\n");
  std::string expected;
  for (int line = 0; line < 500; ++line) {
    writer_->Put(std::to_string(line) + "\n");
    expected += std::to_string(line) + "\n";
  }
  std::string read;
  while (read.size() < expected.size()) read += Read();
  EXPECT_EQ(read, expected);
}

TEST_F(LineWriterTest, AReaderThatStopsHoldsNobodyUp) {
  const std::string line(999, 'x');
  constexpr int kLines = 5000;  // more than the pipe and the writer keep
  for (int number = 0; number < kLines; ++number) writer_->Put(line + "\n");
  EXPECT_FALSE(writer_->Drain(milliseconds(1)));
  std::string read;
  while (!writer_->Drain(milliseconds(1))) read += Read();
  writer_->Put("the end\n");
  while (!read.ends_with("the end\n")) read += Read();
  auto lines = std::count(read.begin(), read.end(), '\n') - 1;
  int lost = 0;
  constexpr std::string_view kNote = " lines were lost]\n";
  for (std::size_t at = read.find(kNote); at != std::string::npos; at = read.find(kNote, at + 1)) {
    lost += std::stoi(read.substr(read.rfind('[', at) + 1));
    --lines;
  }
  EXPECT_GT(lost, 0);
  EXPECT_EQ(lines + lost, kLines);
}

TEST_F(LineWriterTest, AReaderThatIsGoneHoldsNobodyUp) {
  signal(SIGPIPE, SIG_IGN);
  close(ends_[0]);
  writer_->Put("nobody reads this\n");
  EXPECT_TRUE(writer_->Drain(milliseconds(10'000)));
}

// In a process of its own, since gathering has no end.
[[noreturn]] void PrintToNobody() {
  std::fflush(stdout);  // what the test framework has printed goes elsewhere
  int ends[2] = {};
  if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) _exit(1);
  GatherConsole();
  const std::string line(1000, 'x');
  for (int number = 0; number < 3000; ++number) PrintConsole(line);
  FlushConsole(1);
  _exit(7);
}

[[noreturn]] void PrintAndFlush() {
  GatherConsole();
  PrintConsole("to standard output\n");
  WriteDebugChannel("to standard error\n");
  FlushConsole(10'000);
  _exit(7);
}

TEST(GatheredConsoleDeathTest, PrintingNeverWaitsAndAFlushWritesAll) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  setenv("CORVANE_DEBUG_CHANNEL", "1", 1);
  EXPECT_EXIT(PrintToNobody(), testing::ExitedWithCode(7), "");
  EXPECT_EXIT(PrintAndFlush(), testing::ExitedWithCode(7), "to standard error");
}

}  // namespace
}  // namespace corvane::platform
