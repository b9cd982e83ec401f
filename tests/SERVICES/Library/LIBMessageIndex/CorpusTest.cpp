// Real messages through both readers and the rewriters. Skipped where the corpus isn't there
// (CORVANE_CORPUS names its folder).
#include <gtest/gtest.h>

#include <filesystem>

#include "SERVICES/Library/LIBMessageIndex/IndexHeaders.h"
#include "SERVICES/Library/LIBMessageIndex/ParseMessage.h"
#include "message/Ascii.h"
#include "tests/SERVICES/Library/LIBMessageIndex/MessageIndexTestSupport.h"
#include "tests/support/Corpus.h"

namespace corvane::test {
namespace {

class MessageIndexCorpusTest : public MessageFixture {
 protected:
  void SetUp() override {
    if (CorpusFolder().empty()) GTEST_SKIP() << "no corpus; CORVANE_CORPUS names its folder";
    for (const auto& entry : fs::directory_iterator(CorpusFolder() / "messages")) {
      messages_.push_back(entry.path().string());
    }
    ASSERT_GT(messages_.size(), 100U);
  }
  std::vector<std::string> messages_;
};

void ExpectSound(const MessageHeaders& headers) {
  for (std::string_view date : {headers.Received.View(), headers.MessageDate.View()}) {
    EXPECT_TRUE(date.empty() || (date.size() == 19 && date[10] == 'T')) << date;
  }
  EXPECT_LE(headers.Attachments, 1U);
  EXPECT_GT(headers.Importance, 0);
  EXPECT_NE(headers.ModifiedDate, 0U);
  EXPECT_EQ(headers.To.find('\0'), std::string::npos);
}

TEST_F(MessageIndexCorpusTest, BothReadersTakeEveryMessage) {
  std::size_t dated = 0;
  std::size_t datesAlike = 0;
  for (const std::string& message : messages_) {
    SCOPED_TRACE(message);
    MessageHeaders mime, lines;
    const bool headless = ReadBytes(message).find_first_of("\r\n") == 0;
    EXPECT_EQ(ParseMessageMime(message, mime), 1);
    EXPECT_EQ(ParseMessageLines(message, lines, true, false, kVerifyAttachments, false),
              headless ? 0 : 1);
    ExpectSound(mime);
    ExpectSound(lines);
    if (lines.MessageDate.empty()) continue;
    ++dated;
    if (mime.MessageDate.View() == lines.MessageDate.View()) ++datesAlike;
  }
  EXPECT_EQ(datesAlike, dated);
  EXPECT_GT(dated, messages_.size() / 2);
}

TEST_F(MessageIndexCorpusTest, WhatARewriteAddsAnotherTakesOut) {
  Set("UID Branding Enabled", 1U);
  for (const std::string& message : messages_) {
    SCOPED_TRACE(message);
    Write(ReadBytes(message));
    ASSERT_NE(StripIndexHeaders(Folder(), kName), RewriteResult::kFailed);  // of another system
    const std::string before = Read();
    ASSERT_EQ(SetMessageUID(Folder(), kName, 5, 6, "\\SEEN"), RewriteResult::kRewritten);
    MessageHeaders mime;
    ASSERT_EQ(ParseMessageMime(Message(), mime), 1);
    EXPECT_NE(mime.Flags.find("\\SEEN"), std::string::npos);
    ASSERT_EQ(StripIndexHeaders(Folder(), kName), RewriteResult::kRewritten);
    // A last line without its end has got one.
    const std::string after = Read();
    EXPECT_TRUE(after == before || after == before + "\r\n");
  }
}

}  // namespace
}  // namespace corvane::test
