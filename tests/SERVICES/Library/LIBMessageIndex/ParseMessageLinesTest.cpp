// The plain reader: a row a rule, the message, how it is asked for and what the record says of it.
#include <gtest/gtest.h>

#include "SERVICES/Library/LIBMessageIndex/ParseMessage.h"
#include "tests/SERVICES/Library/LIBMessageIndex/MessageIndexTestSupport.h"

namespace corvane::test {
namespace {

class ParseMessageLinesTest : public MessageFixture {
 protected:
  std::int32_t Parse(MessageHeaders& headers, bool clearFlags = false, bool branding = false,
                     std::int32_t attachmentMode = kVerifyAttachments, bool ignoreRead = false) {
    return ParseMessageLines(Message(), headers, clearFlags, branding, attachmentMode, ignoreRead);
  }
};

const Case kCases[] = {
    {"WordsStayEncoded", "To:   =?utf-8?Q?a?= <a@x>\r\n\r\n", To, "=?utf-8?Q?a?= <a@x>"},
    {"ContinuationLosesItsFirstCharacter", "To: a@x,\r\n b@x,\r\n\t c@x\r\n\r\n", To,
     "a@x,b@x, c@x"},
    {"NameStandsInAnyCase", "cc:a@x\r\n\r\n", Cc, "a@x"},
    {"ContinuationOfAnotherHeaderIsNone", "To: a@x\r\nX-Other: 1\r\n b@x\r\n\r\n", To, "a@x"},
    {"ValueOnTheNextLine", "Reply-To:\r\n r@x\r\n\r\n", ReplyTo, "r@x"},
    {"KeywordsKeepTheBlank", "Keywords: red,\r\n blue\r\n\r\n", Categories, "red, blue"},
    {"SubjectKeepsTheBlank", "Subject: a\r\n b\r\n\r\n", Subject, "a b"},
    {"SubjectWordsJoin", "Subject: =?utf-8?Q?a?=\r\n =?utf-8?Q?b?=\r\n c\r\n\r\n", Subject,
     "=?utf-8?Q?a?==?utf-8?Q?b?=c"},
    {"FromIsTaken", "From: a@x\r\nSender: s@x\r\n\r\n", From, "a@x"},
    {"SenderStandsInForFrom", "Sender: s@x\r\n\r\n", From, "s@x"},
    {"FromReplacesSender", "Sender: s@x\r\nFrom: a@x\r\n\r\n", From, "a@x"},
    {"EmptyFromIsUnknown", "From: \r\n\r\n", From, "Unknown"},
    {"NoFromStaysEmpty", "To: a@x\r\n\r\n", From, ""},
    {"ReadIsTheFlag", "X-Read: 1\r\n\r\n", Flags, "\\SEEN"},
    {"ReadIsTheFieldToo", "X-Read: 1\r\n\r\n", Read, "1"},
    {"ReadTenIsNone", "X-Read: 10\r\n\r\n", Read, "0"},
    {"ClassIsTaken", "X-CV-Class: IPM.Note\r\n\r\n", Class, "IPM.Note"},
    {"FlagsAreTaken", "X-CVTempFlags: \\FLAGGED\r\n\r\n", Flags, "\\FLAGGED"},
    {"MessageIdIsTaken", "Message-ID: <1@x>\r\n\r\n", MessageId, "<1@x>"},
    {"PriorityIsANumber", "X-Priority: 5\r\n\r\n", Importance, "5"},
    {"PriorityZeroIsThree", "X-Priority: 0\r\n\r\n", Importance, "3"},
    {"MailingListIsAFlag", "List-Unsubscribe:<mailto:x>\r\n\r\n", Flags, "$IsMailingList"},
    {"DateIsTaken", "Date: 1 Jan 2023 10:00:00 +0000\r\n\r\n", MessageDate, "2023-01-01T10:00:00"},
    {"DateCountsAsReceived", "Date: 1 Jan 2023 10:00:00 +0000\r\n\r\n", Received,
     "2023-01-01T10:00:00"},
    {"FirstReceivedCounts",
     "Received: by a;\r\n\tSun, 1 Jan 2023 10:00:00 +0000\r\n"
     "Received: by b; 1 Jan 2023 09:00:00 +0000\r\nDate: 1 Jan 2023 08:00:00 +0000\r\n\r\n",
     Received, "2023-01-01T10:00:00"},
    {"WithoutDatesReceivedIsEmpty", "To: x\r\n\r\n", Received, ""},
    {"LineEndsAreOfAnyKind", "Subject: a\nTo: b\r\n\nCc: c\n", To, "b"},
    {"BodyIsNoHeader", "Subject: a\r\n\r\nTo: b\r\n", To, ""},
    {"BlockEndsAtTheEmptyLine", "Subject: a\r\nTo: b\r\n\r\nbody\r\n", HeaderBlock,
     "Subject: a\nTo: b"},
};

// With and without branding alike.
TEST_F(ParseMessageLinesTest, EveryRuleHolds) {
  for (const Case& row : kCases) {
    SCOPED_TRACE(row.name);
    Write(row.message);
    for (bool branding : {false, true}) {
      MessageHeaders headers;
      EXPECT_EQ(Parse(headers, false, branding), 1);
      EXPECT_EQ(row.field(headers), row.value);
    }
  }
}

const struct {
  std::string_view name, message;
  std::uint32_t claimed;          // attachmentMode 0
  std::uint32_t verified;         // attachmentMode 2
  std::uint32_t alternative = 2;  // attachmentMode 0 with the setting, if it differs
} kAttachments[] = {
    {"MixedClaims", "Content-Type: multipart/mixed; x\r\n\r\n--b\r\n", 1, 0},
    {"MixedIsBorneOut",
     "Content-Type: multipart/mixed; x\r\n\r\n--b\r\ncontent-disposition: attachment; y\r\n", 1, 1},
    {"WithinALineIsNone",
     "Content-Type: multipart/mixed; x\r\n\r\n> Content-Disposition: attachment\r\n", 1, 0},
    {"AlternativeClaimsOnlyWhenTold", "Content-Type: multipart/alternative\r\n\r\n", 0, 0, 1},
    {"PlainIsNone", "Content-Type: text/plain\r\n\r\nContent-Disposition: attachment\r\n", 0, 0},
    {"DispositionNeedsNoBody", "Content-Disposition: attachment\r\n\r\n", 1, 1},
    {"TypeDoesNotTakeDispositionBack",
     "Content-Disposition: attachment\r\nContent-Type: application/pdf\r\n\r\n", 1, 1},
    {"InlineIsNone", "Content-Disposition: inline\r\n\r\n", 0, 0},
    {"HasAttachClaims", "X-MS-Has-Attach: yes\r\nContent-Type: text/plain\r\n\r\n", 1, 0},
    {"HasAttachEmptyIsNone", "X-MS-Has-Attach: \r\n\r\n", 0, 0},
};

TEST_F(ParseMessageLinesTest, AttachmentsAreClaimedThenVerified) {
  for (const auto& row : kAttachments) {
    SCOPED_TRACE(row.name);
    Write(row.message);
    MessageHeaders claimed, verified;
    ASSERT_EQ(Parse(claimed, false, false, 0), 1);
    ASSERT_EQ(Parse(verified), 1);
    EXPECT_EQ(claimed.Attachments, row.claimed);
    EXPECT_EQ(verified.Attachments, row.verified);
    Set("Indexing Parses Multipart Alternative For Attachments", 1U);
    MessageHeaders told;
    ASSERT_EQ(Parse(told, false, false, 0), 1);
    EXPECT_EQ(told.Attachments, row.alternative == 2 ? row.claimed : row.alternative);
    Set("Indexing Parses Multipart Alternative For Attachments", 0U);
  }
}

TEST_F(ParseMessageLinesTest, UidCountsWithTheBrandOfItsFolder) {
  const struct {
    std::string_view line;
    bool branding;
    std::uint32_t uid;
  } cases[] = {
      {"X-UID: 77.12", true, 12},        {"X-UID: 77.12", false, 0},
      {"X-UID: 78.12", true, 0},         {"X-UID: 12", true, 0},
      {"X-UID: 77.x", true, 0},          {"X-UID: .12", true, 0},
      {"X-UID: 4294967373.12", true, 0},
  };
  for (const auto& row : cases) {
    Write(std::string(row.line) + "\r\n\r\n");
    MessageHeaders headers;
    headers.Brand = 77;
    ASSERT_EQ(Parse(headers, false, row.branding), 1);
    EXPECT_EQ(headers.UID, row.uid) << row.line;
  }
}

TEST_F(ParseMessageLinesTest, FlagsStayUnlessCleared) {
  Write("X-Read: 1\r\n\r\n");
  MessageHeaders headers;
  headers.Flags = "$Old";
  ASSERT_EQ(Parse(headers, false), 1);
  EXPECT_EQ(headers.Flags, "$Old \\SEEN");
  headers.Read = 0;
  ASSERT_EQ(Parse(headers, true, false, 0, true), 1);
  EXPECT_EQ(headers.Flags, "");
  EXPECT_EQ(headers.Read, 0U);
}

TEST_F(ParseMessageLinesTest, ALongLineIsOneLine) {
  const std::string list(2048 - 4, 'a');
  Write("To: " + list + "Subject: forged\r\n and more\r\nSubject: true\r\n\r\n");
  MessageHeaders headers;
  ASSERT_EQ(Parse(headers), 1);
  EXPECT_EQ(headers.To, list + "Subject: forgedand more");
  EXPECT_EQ(headers.Subject.View(), "true");
  Write("Message-ID: <a@b>\r\n " + std::string(3000, 'x') + "\r\n\r\n");
  ASSERT_EQ(Parse(headers), 1);
  EXPECT_EQ(headers.MessageId.View(), "<a@b>") << "it has no continuation";
}

TEST_F(ParseMessageLinesTest, LooksAtThreeHundredAndOneLines) {
  std::string message;
  for (int i = 0; i < 300; ++i) message += "X-Line: x\r\n";
  Write(message + "To: last\r\nCc: behind\r\n\r\n");
  MessageHeaders headers;
  ASSERT_EQ(Parse(headers), 1);
  EXPECT_EQ(headers.To, "last");
  EXPECT_EQ(headers.Cc, "");
}

TEST_F(ParseMessageLinesTest, WhatHasNoHeadersIsNoMessage) {
  MessageHeaders headers;
  EXPECT_EQ(ParseMessageLines(Folder() + "/none.MAI", headers, true, false, 2, false), 0);
  EXPECT_EQ(ParseMessageLines(Folder(), headers, true, false, 2, false), 0);
  for (std::string_view bytes : {"", "\r\nTo: x\r\n\r\n"}) {
    Write(bytes);
    EXPECT_EQ(Parse(headers), 0) << bytes;
  }
}

TEST_F(ParseMessageLinesTest, NewIndexingChoosesTheReader) {
  Write("Subject: =?utf-8?Q?a?=\r\n\r\n");
  for (std::uint32_t mime : {1U, 0U}) {
    Set("New Indexing", mime);
    MessageHeaders headers;
    ASSERT_EQ(ParseMessage(Message(), headers, false, false, kVerifyAttachments, false), 1);
    EXPECT_EQ(headers.Subject.View(), mime == 1 ? "a" : "=?utf-8?Q?a?=");
  }
}

}  // namespace
}  // namespace corvane::test
