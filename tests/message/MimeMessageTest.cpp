// Messages: separators, parts, names, bodies, building.
#include <gtest/gtest.h>

#include "message/HeaderText.h"
#include "message/LineEnds.h"
#include "message/MimeMessage.h"
#include "message/TranscodeBody.h"
#include "tests/message/MessageTestSupport.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {
namespace {

// `text` with CR LF for every LF.
std::string CrLf(std::string_view text) {
  std::string result;
  for (char c : text) result += c == '\n' ? "\r\n" : std::string(1, c);
  return result;
}

MimeMessage Loaded(std::string_view text) {
  MimeMessage message;
  message.Load(Text(text), false, true, false);
  return message;
}

// Each entry as "type=body", other kinds as "kind=body".
std::string Show(const MimeMessage& message) {
  std::string result;
  for (const MimePart& part : message.PartList) {
    std::string what = part.Kind == PartKind::kOrdinary
                           ? part.ContentType.String()
                           : std::to_string(static_cast<int>(part.Kind));
    result += "[" + what + "=" + part.Body.String() + "]";
  }
  return result;
}

constexpr std::string_view kMixed = "Content-Type: multipart/mixed; boundary=b\n\n";
const struct {
  const char* name;
  std::string_view text;  // LF stands for CR LF
  bool complete;
  std::string_view parts;  // the same
} kParts[] = {
    {"SinglePart", "A: 1\n\nbody\n", true, "[text/plain=body\n]"},
    {"NoBlankLine", "A: 1\nB: 2\n", false, ""},
    {"EmptyBody", "A: 1\n\n", true, "[text/plain=]"},
    {"LeadingWhiteSpaceOfABodyGoes", "A: 1\n\n \n\t body", true, "[text/plain=body]"},
    {"NoHeaders", "\n\nbody", true, "[text/plain=body]"},
    {"TwoParts", "M\n\n--b\nContent-Type: text/html\n\none\n--b\n\ntwo\n--b--\n", true,
     "[text/html=one][text/plain=two]"},
    {"PreambleAndEpilogue", "M\n\npre\n--b\n\none\n--b--\nepi", true, "[text/plain=one]"},
    {"MarkerInsideALineIsText", "M\n\nsee --b\n--b\n\none --b\n--b--", true,
     "[text/plain=one --b]"},
    {"WhiteSpaceBehindMarkers", "M\n\n--b \t\n\none\n--b \n\ntwo\n--b-- ", true,
     "[text/plain=one][text/plain=two]"},
    {"BoundaryIsTakenByItsBeginning", "M\n\n--b\n\none\n--bb--\n", false, "[text/plain=one]"},
    {"NoClosingMarker", "M\n\n--b\n\none\n--b\n\ntwo\n", false, "[text/plain=one]"},
    {"SeparatorInPlaceOfTheClosing", "M\n\n--b\n\none\n--b\n", false, "[text/plain=one]"},
    {"NoMarkerAtAll", "M\n\ntext\n", false, ""},
    {"HeadersWithoutEnd", "M\n\n--b\nContent-Type: text/html\none\n--b--", false, ""},
    {"EmptyParts", "M\n\n--b\n\n--b\nX: 1\n\n--b--", true, "[text/plain=][text/plain=]"},
    {"Nested",
     "M\n\n--b\nContent-Type: multipart/alternative; boundary=c\n\n--c\n\none\n--c\n"
     "Content-Type: text/html\n\ntwo\n--c--\n\n--b\n\nthree\n--b--\n",
     true, "[text/plain=one][text/html=two][text/plain=three]"},
    {"NestedBoundaryBeginsLikeTheOuter",
     "M\n\n--b\nContent-Type: multipart/mixed; boundary=bb\n\n--bb\n\none\n--bb--\n--b--", true,
     "[text/plain=one]"},
    {"EverythingClosesAtOnce",
     "M\n\n--b\nContent-Type: multipart/mixed; boundary=c\n\n--c\n\none\n--c--\n--b--", true,
     "[text/plain=one]"},
    {"OuterMarkerMissing",
     "M\n\n--b\nContent-Type: multipart/mixed; boundary=c\n\n--c\n\none\n--c--\n", false,
     "[text/plain=one]"},
    {"MultipartWithoutBoundary", "Content-Type: multipart/mixed\n\n--b\n\none\n--b--", false, ""},
    {"BoundaryWithABlankAtItsEnd",
     "Content-Type: multipart/mixed; boundary=\"b \"\n\n--b \n\none\n--b --\n", true,
     "[text/plain=one]"},
    {"BoundaryFoldedAtItsBlank",
     "Content-Type: multipart/mixed; boundary=\"b\n c\"\n\n--b c\n\none\n--b c--\n", true,
     "[text/plain=one]"},
    {"EmbeddedMessageIsOnePart",
     "M\n\n--b\nContent-Type: message/rfc822\n\nSubject: x\n\ninner\n--b--", true,
     "[message/rfc822=Subject: x\n\ninner]"},
};

TEST(MimeMessage, ParseParts) {
  for (const auto& c : kParts) {
    std::string text(c.text);
    if (text.starts_with("M\n\n")) text.replace(0, 3, kMixed);
    for (bool crLf : {true, false}) {
      MimeMessage message = Loaded(crLf ? CrLf(text) : text);
      EXPECT_EQ(message.ParseParts(false), c.complete) << c.name << " " << crLf;
      EXPECT_EQ(Show(message), CrLf(c.parts)) << c.name;
    }
  }
}

TEST(MimeMessage, KeptStructureHasItsMarks) {
  MimeMessage message = Loaded(std::string(kMixed) + "pre\n--b\n\none\n--b--\nepi");
  EXPECT_TRUE(message.ParseParts(true));
  EXPECT_EQ(Show(message), "[multipart/mixed=][50=pre\r\n][text/plain=one][100=][200=\r\nepi]");
  EXPECT_EQ(message.PartList[2].EnclosingBoundary, "b");
  EXPECT_EQ(message.PartList[2].PartNumber, 1U);
  EXPECT_EQ(message.PartList[2].OriginalSize, 3U);
}

TEST(MimeMessage, TwoHundredPartsAreTheLimit) {
  for (int parts : {200, 201, 5000}) {
    std::string text(kMixed);
    for (int i = 0; i < parts; ++i) text += "--b\n\nx\n";
    MimeMessage message = Loaded(text + "--b--\n");
    EXPECT_EQ(message.ParseParts(false), parts == 200);
    EXPECT_EQ(message.PartList.size(), static_cast<std::size_t>(std::min(parts, 201)));
  }
}

TEST(MimeMessage, DeepNestingEndsTheParse) {
  for (int levels : {150, 100'000}) {
    std::string text = "Content-Type: multipart/mixed; boundary=b0\n\n";
    for (int i = 0; i < levels; ++i) {
      text += "--b" + std::to_string(i) + "\nContent-Type: multipart/mixed; boundary=b" +
              std::to_string(i + 1) + "\n\n";
    }
    text += "--b" + std::to_string(levels) + "\n\nleaf\n";
    for (int i = levels; i >= 0; --i) text += "--b" + std::to_string(i) + "--\n";
    EXPECT_EQ(Loaded(text).ParseParts(false), levels == 150);
    EXPECT_FALSE(levels == 100'000 && Loaded(text).ParseParts(true));
  }
}

TEST(MimeMessage, PartFields) {
  MimeMessage message = Loaded(
      "Content-Type: multipart/mixed; boundary=\"b\"\n\n--b\n"
      "Content-Type: Text/HTML ; charset=\"koi8-r\"; name=n.htm\n"
      "Content-Transfer-Encoding: Base64 \n"
      "Content-Disposition: Attachment ; filename=\"a;b \\\"c\\\".htm\"\n"
      "Content-ID: <id@x>\n\nQUJD\n--b--");
  ASSERT_TRUE(message.ParseParts(false));
  const MimePart& part = message.PartList.at(0);
  EXPECT_EQ(part.ContentType, "Text/HTML");
  EXPECT_EQ(part.Charset, "koi8-r");
  EXPECT_EQ(part.TransferEncoding, "Base64");
  EXPECT_EQ(part.Disposition, "Attachment");
  EXPECT_EQ(part.ContentIdentifier, "id@x");
  EXPECT_EQ(part.Name, "n.htm");
  EXPECT_EQ(part.Filename, "a;b \"c\".htm");
  EXPECT_EQ(part.DisplayName, "n.htm");
  EXPECT_EQ(part.EnclosingBoundary, "b");
  EXPECT_EQ(DecodedBody(part), "ABC");
}

const struct {
  std::string name, headers;
  std::string_view filename, partName, displayName;
} kNames[] = {
    {"NoName", "Content-Disposition: attachment", "", "", ""},
    {"Filename", "Content-Disposition: attachment; filename=a.txt", "a.txt", "", "a.txt"},
    {"FoldedValue", "Content-Disposition: attachment;\r\n\tfilename=\"a b.txt\"", "a b.txt", "",
     "a b.txt"},
    {"EncodedName", "Content-Type: a/b; name=\"=?utf-8?Q?=C3=A9?=\"", "",
     "=?utf-8?Q?=C3=A9?=", "\xC3\xA9"},
    {"EncodedFilename", "Content-Type: a/b; filename=\"=?utf-8?Q?=C3=A9?=\"",
     "=?utf-8?Q?=C3=A9?=", "", "\xC3\xA9"},
    {"ExtendedFilename", "Content-Disposition: attachment; filename*=iso-8859-1''%E9.txt",
     "\xC3\xA9.txt", "", "\xC3\xA9.txt"},
    {"ExtendedWins", "Content-Disposition: x; filename=e.txt; filename*=utf-8''%C3%A9.txt",
     "\xC3\xA9.txt", "", "\xC3\xA9.txt"},
    {"FilenameInPieces", "Content-Disposition: x; filename*1=b.txt; filename*0=\"a \"", "a b.txt",
     "", "a b.txt"},
    {"NameInPieces", "Content-Type: a/b; name*0*=utf-8''%C3; name*1*=%A9; name*3=x", "", "\xC3\xA9",
     "\xC3\xA9"},
    {"NamePiecesWithWords", "Content-Type: a/b; name*0=\"=?utf-8?Q?=C3=A9?=\"; name*1=%41", "",
     "\u00E9A", "\u00E9A"},
    {"BlankInAnUnquotedName", "Content-Type: a/b; name=my file.txt ; x=y", "", "my file.txt",
     "my file.txt"},
};

TEST(MimePart, Names) {
  for (const auto& c : kNames) {
    MimePart part;
    Text headers = c.headers;
    ReadPartHeaders(headers, headers, part);
    EXPECT_EQ(part.Filename, c.filename) << c.name;
    EXPECT_EQ(part.Name, c.partName) << c.name;
    EXPECT_EQ(part.DisplayName, c.displayName) << c.name;
  }
}

TEST(MimeMessage, Separators) {
  const struct {
    const char *name, *text;
    std::uint32_t length;
    std::string_view normalised;
  } kCases[] = {
      {"CrLf", "A: 1\r\n\r\nb\n", 4, "A: 1\r\n\r\nb\n"},
      {"Lf", "A: 1\n\nb\n", 4, "A: 1\r\n\r\nb\r\n"},
      {"LfWithSomeCrLf", "A: 1\r\nB: 2\n\nb\r\nc\n", 4, "A: 1\r\nB: 2\r\n\r\nb\r\nc\r\n"},
      {"None", "A: 1\nB: 2\n", 0, "A: 1\nB: 2\n"},
  };
  for (const auto& c : kCases) {
    MimeMessage message = Loaded(c.text);
    EXPECT_EQ(message.SeparatorLength, c.length) << c.name;
    EXPECT_EQ(message.LineEndLength, c.length / 2) << c.name;
    EXPECT_EQ(message.RawText, c.normalised) << c.name;
  }
  MimeMessage message = Loaded("A: 1\nB: 2\n");
  HeaderList headers;
  message.ParseHeaders(headers, true);
  EXPECT_FALSE(message.HeaderEnd.has_value());
  EXPECT_EQ(headers.FirstValue("b"), "2");
}

TEST(WithCrLf, MatchesAPlainLoop) {
  for (unsigned seed = 1; seed < 400; ++seed) {
    std::string text = RandomBytes(seed, seed % 70);
    for (char& c : text) c = "a\r\n\n\x8A\x0B"[static_cast<unsigned char>(c) % 6];
    std::string expected;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) expected.push_back('\r');
      expected.push_back(text[i]);
    }
    ASSERT_EQ(WithCrLf(text), expected) << seed;
  }
}

TEST(MimeMessage, LoadsFiles) {
  TemporaryDirectory directory;
  WriteBytes(directory / "m.mai", "Subject: x\n\nbody");
  MimeMessage message;
  EXPECT_TRUE(message.Load(directory / "m.mai", true, true, true));
  EXPECT_EQ(message.HeaderBlock, "Subject: x");
  EXPECT_EQ(message.TextPart.Body, "body");
  EXPECT_FALSE(message.Load(directory / "none.mai", true, true, true));
  EXPECT_FALSE(message.HasText());
}

TEST(MimeMessage, Bodies) {
  MimeMessage message = Loaded(
      "Content-Type: multipart/alternative; boundary=b\n\n--b\n"
      "Content-Type: TEXT/plain; charset=iso-8859-1\nContent-Transfer-Encoding: quoted-printable\n"
      "\ncaf=E9 <x>\n--b\nContent-Type: text/html; charset=utf-8\n\n<p>H\n--b--");
  std::string body;
  message.GetTextBody(body, "UTF-8", false);
  EXPECT_EQ(body, "caf\xC3\xA9 <x>");
  message.GetTextBody(body, "", false);
  EXPECT_EQ(body, "caf\xE9 <x>");
  message.GetHtmlBody(body, "UTF-8", false);
  EXPECT_EQ(body, "<p>H");
  message.LocateTextPart(true);
  EXPECT_EQ(message.TextPart.Body, "caf\xC3\xA9 <x>");
  EXPECT_EQ(message.TextPart.TransferEncoding, "");
  EXPECT_EQ(message.TextPart.Charset, "UTF-8");

  message = Loaded("Content-Type: text/html\n\nline<br>two &lt;");
  message.GetTextBody(body, "UTF-8", false);
  EXPECT_EQ(body, "");
  message.GetTextBody(body, "UTF-8", true);
  EXPECT_EQ(body, "line\r\ntwo ");
  message = Loaded("A: 1\n\n1 < 2\nx");
  message.GetHtmlBody(body, "UTF-8", true);
  EXPECT_EQ(body, "1 &lt; 2<br>x");
}

TEST(MimeMessage, BodyThatDoesNotDecodeStays) {
  MimeMessage message =
      Loaded("Content-Type: text/plain; charset=x-none\nContent-Transfer-Encoding: base64\n\n*no*");
  message.LocateTextPart(true);
  EXPECT_EQ(message.TextPart.Body, "*no*");
  EXPECT_EQ(message.TextPart.Charset, "x-none");
  std::string body;
  message.GetTextBody(body, "UTF-8", false);
  EXPECT_EQ(body, "*no*");
}

TEST(TranscodeBody, Cases) {
  const struct {
    std::string name, body;
    const char *from, *to;
    bool result;
    std::string_view after;
  } kCases[] = {
      {"BothAbsent", "a=", "", "", true, "a="},
      {"EqualInAnyCase", "a=", "X-Foo", "x-foo", true, "a="},
      {"RawToBase64", "abc", "7bit", "base64", true, "YWJj"},
      {"Base64ToRaw", "YW Jj\r\n", "Base64", "", true, "abc"},
      {"LineEndsAreEncoded", "a\r\nb", "8bit", "quoted-printable", true, "a=0D=0Ab"},
      {"QuotedToBase64", "=41", "quoted-printable", "base64", true, "QQ=="},
      {"TrailingBlank", "QQ==", "base64 ", "binary", true, "A"},
      {"UnknownFrom", "abc", "x-uuencode", "", false, "abc"},
      {"UnknownTo", "abc", "", "x-uuencode", false, "abc"},
      {"DoesNotDecode", "*", "base64", "quoted-printable", false, "*"},
  };
  for (const auto& c : kCases) {
    std::string body = c.body;
    EXPECT_EQ(TranscodeBody(body, c.from, c.to), c.result) << c.name;
    EXPECT_EQ(body, c.after) << c.name;
  }
}

TEST(MimeMessage, BuildsAlternativesAndAttachments) {
  MimeMessage message;
  message.HeaderBlock = "From: a\r\nTo: b\r\n c";
  SetPartBody(message.TextPart, "1 < 2");
  MimePart attachment;
  attachment.HeaderText = "Content-Type: message/rfc822";
  attachment.Body = "Subject: x\r\n\r\ny";
  message.AttachmentList.push_back(attachment);
  message.Build();
  EXPECT_EQ(
      message.RawText.View(),
      "From: a\r\nTo: b\r\n c\r\nContent-Type: multipart/mixed; boundary=\"_ABC_MIXED\"\r\n\r\n"
      "--_ABC_MIXED\r\n"
      "Content-Type: multipart/alternative; boundary=\"_ABC_ALTERNATE\"\r\n\r\n"
      "--_ABC_ALTERNATE\r\n"
      "Content-Type: text/plain; charset=\"utf-8\"\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n\r\n1 < 2\r\n"
      "--_ABC_ALTERNATE\r\n"
      "Content-Type: text/html; charset=\"utf-8\"\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n\r\n1 &lt; 2\r\n"
      "--_ABC_ALTERNATE--\r\n"
      "--_ABC_MIXED\r\nContent-Type: message/rfc822\r\n\r\nSubject: x\r\n\r\ny\r\n\r\n"
      "--_ABC_MIXED--\r\n");
  ASSERT_TRUE(message.ParseParts(false));
  EXPECT_EQ(message.PartList.size(), 3U);
}

TEST(MimeMessage, BuildNamesTheEncodingOfPlainBodies) {
  MimeMessage message;
  message.TextPart.Body = "text";
  message.Build();
  EXPECT_NE(message.RawText.View().find("Content-Transfer-Encoding: 7Bit\r\n\r\ntext\r\n"),
            std::string_view::npos);
}

TEST(MimeMessage, BuildWithoutPartsIsHeadersAlone) {
  MimeMessage message;
  message.HeaderBlock = "From: a\r\ncontent-type: x/y\r\nTo: b";
  message.Build();
  EXPECT_EQ(message.RawText, "From: a\r\nContent-Type: text/plain\r\nTo: b\r\n\r\n");
}

TEST(MimeMessage, WhatItBuildsReadsBack) {
  for (unsigned seed = 1; seed <= 100; ++seed) {
    // White space at the start of a body is passed over in reading.
    std::string text = "." + RandomBytes(seed, seed * 7);
    std::string html = "." + RandomBytes(seed + 500, seed * 3);
    std::string_view encoding = seed % 2 == 0 ? "base64" : "quoted-printable";
    MimeMessage message;
    message.HeaderBlock = "Subject: x";
    ASSERT_TRUE(SetPartBody(message.TextPart, text, encoding));
    ASSERT_TRUE(SetPartBody(message.HtmlPart, html, encoding));
    message.Build();
    MimeMessage again;
    again.Load(message.RawText, false, true, false);
    ASSERT_TRUE(again.ParseParts(false)) << seed;
    ASSERT_EQ(again.PartList.size(), 2U);
    EXPECT_EQ(DecodedBody(again.PartList[0]).View(), text) << seed;
    EXPECT_EQ(DecodedBody(again.PartList[1]).View(), html) << seed;
    EXPECT_EQ(again.PartList[1].ContentType, "text/html");
    EXPECT_EQ(again.PartList[0].Charset, "utf-8");
  }
}

}  // namespace
}  // namespace corvane::test
