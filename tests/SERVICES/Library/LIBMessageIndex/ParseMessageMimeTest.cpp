// The MIME reader: a row a rule, the message and what the record says of it.
#include <gtest/gtest.h>

#include <span>

#include "SERVICES/Library/LIBMessageIndex/ParseMessage.h"
#include "platform/FileSystem.h"
#include "tests/SERVICES/Library/LIBMessageIndex/MessageIndexTestSupport.h"

namespace corvane::test {
namespace {

class ParseMessageMimeTest : public MessageFixture {};

const Case kHeaderCases[] = {
    {"EncodedWordsAreDecoded", "To: =?utf-8?Q?J=C3=B6rg?= <j@x>\r\n\r\n", To, "J\xC3\xB6rg <j@x>"},
    {"FoldedListKeepsItsBlanks", "CC: a@x,\r\n b@x,\r\n\tc@x\r\n\r\n", Cc, "a@x, b@x, c@x"},
    {"FromIsTaken", "Sender: s@x\r\nFROM: a@x\r\n\r\n", From, "a@x"},
    {"NobodyIsUnknown", "Subject: x\r\n\r\n", From, "Unknown"},
    {"SenderIsNoFrom", "Sender: s@x\r\n\r\n", From, "Unknown"},
    {"SenderIsTaken", "Sender: s@x\r\n\r\n", Sender, "s@x"},
    {"ReplyToIsTaken", "reply-to: r@x\r\n\r\n", ReplyTo, "r@x"},
    {"MessageIdIsTaken", "Message-Id:\r\n <1@x>\r\n\r\n", MessageId, "<1@x>"},
    {"KeywordsAreCategories", "Keywords: red, blue\r\n\r\n", Categories, "red, blue"},
    {"ThreadIndexIsThread", "Thread-Index: AdQ=\r\n\r\n", Thread, "AdQ="},
    {"SubjectWordsJoinOverABlank", "Subject: =?utf-8?Q?a?=\r\n =?utf-8?Q?b?=\r\n\r\n", Subject,
     "ab"},
    {"SubjectWordsJoinOverATab", "Subject: =?utf-8?Q?a?=\r\n\t=?utf-8?Q?b?= c\r\n\r\n", Subject,
     "ab c"},
    {"NulIsNoTextOfAnItem", std::string_view("Subject: a\0b\r\n\r\n", 16), Subject, "a b"},
    {"ReadGivesTheFlag", "X-Read: 1\r\n\r\n", Flags, "\\SEEN"},
    {"ReadLeavesTheField", "X-Read: 1\r\n\r\n", Read, "0"},
    {"NotReadGivesNone", "X-Read: 0\r\n\r\n", Flags, ""},
    {"FlagsReplaceThoseBefore", "X-Read: 1\r\nX-CVTempFlags: \\FLAGGED $Work\r\n\r\n", Flags,
     "\\FLAGGED $Work"},
    {"FlagsBehindAreAdded", "X-CVTempFlags: \\FLAGGED\r\nX-Read: 1\r\n\r\n", Flags,
     "\\FLAGGED \\SEEN"},
    {"MailingListIsAFlag", "List-Unsubscribe: <mailto:x>\r\n\r\n", Flags, "$IsMailingList"},
    {"ClassIsTaken", "X-CV-Class: IPM.Note\r\n\r\n", Class, "IPM.Note"},
    {"PriorityIsANumber", "X-Priority: 1 (Highest)\r\n\r\n", Importance, "1"},
    {"PriorityZeroIsThree", "X-Priority: 0\r\n\r\n", Importance, "3"},
    {"PriorityBelowIsThree", "X-Priority: -1\r\n\r\n", Importance, "3"},
    {"PriorityWordIsThree", "X-Priority: high\r\n\r\n", Importance, "3"},
    {"UidIsNotRead", "X-UID: 7\r\n\r\n", Uid, "0"},
    {"DateIsInUtc", "Date: Sun, 1 Jan 2023 10:00:00 +0200\r\n\r\n", MessageDate,
     "2023-01-01T08:00:00"},
    {"DateThatIsNoneIsEmpty", "Date: tomorrow\r\n\r\n", MessageDate, ""},
    {"WithoutDatesReceivedIsEmpty", "Subject: x\r\n\r\n", Received, ""},
    {"WithoutReceivedTheDateCounts", "Date: 1 Jan 2023 10:00:00 +0000\r\n\r\n", Received,
     "2023-01-01T10:00:00"},
    {"FirstReceivedCounts",
     "Received: by a;\r\n\tSun, 1 Jan 2023 10:00:00 +0000\r\n"
     "Received: by b; Sun, 1 Jan 2023 09:00:00 +0000\r\nDate: 1 Jan 2023 08:00:00 +0000\r\n\r\n",
     Received, "2023-01-01T10:00:00"},
    {"ReceivedWithoutDateIsPassedOver",
     "Received: by a\r\nReceived: by b; Sun, 1 Jan 2023 09:00:00 +0000\r\n\r\n", Received,
     "2023-01-01T09:00:00"},
    {"ReceivedIsNoMessageDate", "Received: by b; Sun, 1 Jan 2023 09:00:00 +0000\r\n\r\n",
     MessageDate, ""},
    {"BlockEndsAtTheEmptyLine", "Subject: x\r\nTo: y\r\n\r\nbody\r\n\r\n", HeaderBlock,
     "Subject: x\r\nTo: y"},
    {"BodyIsNoHeader", "Subject: x\r\n\r\nTo: y\r\n", To, ""},
    {"LineFeedsEndLines", "To: a@x\nSubject: x\n\nTo: y\r\n\r\n", To, "a@x"},
    {"MixedLineEndsEndLines", "To: a@x\n\r\nTo: y\r\n\r\n", To, "a@x"},
    {"WithoutEmptyLineAllIsHeaders", "Subject: x\r\nTo: y", To, "y"},
    {"EmptyFirstLineIsPassedOver", "\r\nTo: y\r\n\r\n", To, "y"},
};

#define MULTIPART(type)                                            \
  "Content-Type: multipart/" type                                  \
  "; boundary=b\r\n\r\npre\r\n--b\r\nContent-Type: text/plain\r\n" \
  "\r\ntext\r\n--b\r\n"
#define CALENDAR(method) "Content-Type: text/calendar; method=" method "\r\n"
#define PDF "Content-Type: application/pdf; name=a.pdf\r\n"

const Case kPartCases[] = {
    {"AttachmentIsFound", MULTIPART("mixed") PDF "Content-Disposition: ATTACHMENT; x\r\n\r\n--b--",
     Attachments, "1"},
    {"InlineIsNone", MULTIPART("mixed") PDF "Content-Disposition: inline\r\n\r\nx\r\n--b--",
     Attachments, "0"},
    {"TypeAloneIsNone", MULTIPART("mixed") PDF "\r\nx\r\n--b--", Attachments, "0"},
    {"FileNameIsNoDisposition",
     MULTIPART("mixed") PDF "Content-Disposition: inline; filename=attachment\r\n\r\nx\r\n--b--",
     Attachments, "0"},
    {"OutsideAnyPartIsNone",
     MULTIPART("mixed") PDF "\r\nx\r\n--b--\r\nContent-Disposition: attachment\r\n\r\n",
     Attachments, "0"},
    {"NestedIsFound",
     "Content-Type: multipart/mixed; boundary=a\r\n\r\n--a\r\n" MULTIPART("related") PDF
     "Content-Disposition: attachment\r\n\r\nx\r\n--b--\r\n--a--\r\n",
     Attachments, "1"},
    {"BeforeABreakIsFound",
     "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n" PDF
     "Content-Disposition: attachment\r\n\r\nx\r\n--b\r\nContent-Type: text/plain\r\n",
     Attachments, "1"},
    {"LineFeedMessageHasPartsToo",
     "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Disposition: "
     "attachment\n\nx\n--b--",
     Attachments, "1"},
    {"WholeMessageIsAnAttachment",
     "Content-Type: application/pdf\r\nContent-Disposition: attachment; filename=a\r\n\r\nx",
     Attachments, "1"},
    {"PlainMessageHasNone", "Content-Type: text/plain\r\n\r\nContent-Disposition: attachment\r\n",
     Attachments, "0"},
    {"Request", CALENDAR("REQUEST") "\r\nx", Class, "IPM.Schedule.Meeting.Request"},
    {"AnyCase", "Content-Type: TEXT/Calendar; method=request\r\n\r\nx", Class,
     "IPM.Schedule.Meeting.Request"},
    {"Accepted", CALENDAR("REPLY") "\r\nATTENDEE;PARTSTAT=accepted:x", Class,
     "IPM.Schedule.Meeting.Resp.Pos"},
    {"Declined", CALENDAR("REPLY") "\r\nA;PARTSTAT=DECLINED:x", Class,
     "IPM.Schedule.Meeting.Resp.Neg"},
    {"Tentative", CALENDAR("REPLY") "\r\nA;PARTSTAT=TENTATIVE:x", Class,
     "IPM.Schedule.Meeting.Resp.Tent"},
    {"OtherAnswer", CALENDAR("REPLY") "\r\nPARTSTAT=DELEGATED", Class, "IPM.Schedule.Meeting.Resp"},
    {"AnswerOverAFold", CALENDAR("REPLY") "\r\nATTENDEE;PARTS\r\n TAT=DECLI\n\tNED:x", Class,
     "IPM.Schedule.Meeting.Resp.Neg"},
    {"AnswerOverTwoLinesIsNone", CALENDAR("REPLY") "\r\nPARTSTAT=\r\nDECLINED", Class,
     "IPM.Schedule.Meeting.Resp"},
    {"AnswerInBase64",
     CALENDAR("REPLY") "Content-Transfer-Encoding: base64\r\n\r\n"
                       "UEFSVFNUQVQ9REVDTElORUQ=\r\n",
     Class, "IPM.Schedule.Meeting.Resp.Neg"},
    {"Cancelled", CALENDAR("CANCEL") "\r\nx", Class, "IPM.Schedule.Meeting.Canceled"},
    {"Published", CALENDAR("PUBLISH") "\r\nx", Class, "IPM.Schedule"},
    {"NoMethodNoClass", "Content-Type: text/calendar\r\n\r\nMETHOD:REQUEST", Class, ""},
    {"NoCalendarNoClass", "Content-Type: text/plain; x=REQUEST\r\n\r\nx", Class, ""},
    {"CalendarPart",
     MULTIPART("alternative") "Content-Type: text/calendar;\r\n method=REPLY\r\n"
                              "Content-Transfer-Encoding: "
                              "quoted-printable\r\n\r\nA;PARTSTAT=3DACCEPTED:x\r\n--b--",
     Class, "IPM.Schedule.Meeting.Resp.Pos"},
    {"FirstCalendarPartCounts",
     MULTIPART("mixed") CALENDAR("CANCEL") "\r\nx\r\n--b\r\n" CALENDAR("REQUEST") "\r\nx\r\n--b--",
     Class, "IPM.Schedule.Meeting.Canceled"},
    {"GivenClassStandsBeforeAPart",
     "X-CV-Class: IPM.Note\r\n" MULTIPART("mixed") CALENDAR("CANCEL") "\r\nx\r\n--b--", Class,
     "IPM.Note"},
};

TEST_F(ParseMessageMimeTest, EveryRuleHolds) {
  for (const auto& rows :
       {std::span<const Case>(kHeaderCases), std::span<const Case>(kPartCases)}) {
    for (const Case& row : rows) {
      SCOPED_TRACE(row.name);
      Write(row.message);
      MessageHeaders headers;
      EXPECT_EQ(ParseMessageMime(Message(), headers), 1);
      EXPECT_EQ(row.field(headers), row.value);
    }
  }
}

TEST_F(ParseMessageMimeTest, WhatHasNoHeadersIsNoMessage) {
  MessageHeaders headers;
  EXPECT_EQ(ParseMessageMime(Folder() + "/none.MAI", headers), 0);
  EXPECT_EQ(ParseMessageMime(Folder(), headers), 0);
  for (std::string_view bytes : {"", "\r\n", "\r\n\r\nbody\r\n", "\n\nTo: y\r\n\r\n"}) {
    Write(bytes);
    EXPECT_EQ(ParseMessageMime(Message(), headers), 0) << bytes;
  }
}

TEST_F(ParseMessageMimeTest, LongHeadersAndBodiesAreReadWhole) {
  std::string message = "Content-Type: multipart/mixed; boundary=b\r\nX-Long: ";
  message += std::string(70'000, 'x') + "\r\nSubject: end\r\n\r\n--b\r\n\r\n";
  message +=
      std::string(200'000, 'y') + "\r\n--b\r\nContent-Disposition: attachment\r\n\r\n\r\n--b--";
  Write(message);
  MessageHeaders headers;
  ASSERT_EQ(ParseMessageMime(Message(), headers), 1);
  EXPECT_EQ(headers.Subject.View(), "end");
  EXPECT_EQ(headers.Attachments, 1U);
}

TEST_F(ParseMessageMimeTest, TheFilesTimeIsInDosWords) {
  Write("To: x\r\n\r\n");
  ASSERT_TRUE(platform::SetLastWriteTime(Message(), platform::FromDosDateTime({0x5AE5, 0x7000})));
  MessageHeaders headers;
  ASSERT_EQ(ParseMessageMime(Message(), headers), 1);
  EXPECT_EQ(headers.ModifiedDate, 0x5AE57000U);
}

}  // namespace
}  // namespace corvane::test
