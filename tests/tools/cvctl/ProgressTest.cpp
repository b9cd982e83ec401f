// The progress bar on a stream that stands for a terminal, with a clock that a test moves.
#include <gtest/gtest.h>

#include <memory>

#include "cvctl/Progress.h"
#include "tests/support/TestClock.h"

namespace corvane {
namespace {

class ProgressTest : public ::testing::Test {
 protected:
  // What came out since the last call.
  std::string Drawn() {
    std::string text(static_cast<std::size_t>(std::ftell(stream_.get())), '\0');
    std::rewind(stream_.get());
    text.resize(std::fread(text.data(), 1, text.size(), stream_.get()));
    std::rewind(stream_.get());
    return text;
  }

  test::TestClock clock_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream_{std::tmpfile(), std::fclose};
};

TEST_F(ProgressTest, ShortWorkShowsNothing) {
  {
    cvctl::Progress progress("reading", 3, stream_.get());
    for (int i = 0; i < 3; ++i) {
      clock_.Advance(90);
      progress.Step();
    }
  }
  EXPECT_EQ(Drawn(), "");
}

TEST_F(ProgressTest, LongWorkIsDrawnTenTimesASecondAndTakenAway) {
  {
    cvctl::Progress progress("reading", 4, stream_.get());
    clock_.Advance(300);
    progress.Step();
    progress.Step();
    EXPECT_EQ(Drawn(), "\r\x1b[Kreading [#######.......................] 1 of 4");
    clock_.Advance(100);
    progress.Step();
    EXPECT_EQ(Drawn(), "\r\x1b[Kreading [######################........] 3 of 4");
    clock_.Advance(100);
    for (int i = 0; i < 3; ++i) progress.Step();
    EXPECT_EQ(Drawn(), "\r\x1b[Kreading [##############################] 4 of 4") << "never more";
  }
  EXPECT_EQ(Drawn(), "\r\x1b[K");
}

TEST_F(ProgressTest, WithoutATerminalNothingIsDrawn) {
  cvctl::Progress progress("reading", 0, nullptr);
  clock_.Advance(1000);
  progress.Step();
}

}  // namespace
}  // namespace corvane
