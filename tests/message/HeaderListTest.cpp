// Header blocks: parsing, lookup, parameters, writing.
#include <gtest/gtest.h>

#include "message/HeaderList.h"
#include "message/Unicode.h"

namespace corvane {
namespace {

std::string Show(const HeaderList& list) {
  std::string result;
  for (std::size_t i = 0; i < list.Size(); ++i) {
    MessageHeader header = list.At(i);
    result += "[" + header.Name + "|" + HeaderList::GetValue(header) + "]";
  }
  return result;
}

const struct {
  const char *name, *block;
  std::string_view headers;
} kBlocks[] = {
    {"Empty", "", ""},
    {"CrLfAndLf", "A: 1\r\nB: 2\nC:3", "[A|1][B|2][C|3]"},
    {"NamesStandAsTheyAre", "sUbJect : x\r\n", "[sUbJect |x]"},
    {"FoldKeepsItsBlanks", "A: 1\r\n  2\r\n\t3\r\n", "[A|1  2 3]"},
    {"OnlyTheFirstTabIsTurned", "A: 1\r\n\t\t2\r\n", "[A|1 \t2]"},
    {"LineWithoutColonIsDropped", "junk\r\nA: 1\r\n", "[A|1]"},
    {"ColonInAContinuation", "junk\r\n b: 1\r\nA: 2", "[junk b|1][A|2]"},
    {"EmptyValue", "A:\r\nB: \t \r\n", "[A|][B|]"},
    {"ContinuationOfNothing", " x: 1\r\nA: 2", "[A|2]"},
    {"SecondColonBelongsToTheValue", "A: b: c", "[A|b: c]"},
    {"EncodedWords", "A: =?utf-8?Q?=C3=A9_x?=\r\n =?utf-8?Q?y?=", "[A|\xC3\xA9 x y]"},
    {"RawBytes", "A: caf\xE9\r\nB: caf\xC3\xA9", "[A|caf\xC3\xA9][B|caf\xC3\xA9]"},
};

TEST(HeaderList, Parses) {
  for (const auto& c : kBlocks) {
    for (bool decode : {false, true}) {
      HeaderList list;
      list.Parse(c.block, decode);
      EXPECT_EQ(Show(list), c.headers) << c.name << " " << decode;
    }
  }
}

TEST(HeaderList, FindsFirstAndLastInAnyCase) {
  HeaderList list;
  list.Parse("Received-SPF: one\r\nSUBJECT: s\r\nreceived-spf: two\r\n", false);
  EXPECT_EQ(HeaderList::GetValue(*list.FindFirst("Received-SPF")), "one");
  EXPECT_EQ(HeaderList::GetValue(*list.FindLast("RECEIVED-SPF")), "two");
  EXPECT_EQ(list.FindFirst("Subject")->Name, "SUBJECT");
  EXPECT_EQ(list.FirstValue("subject"), "s");
  EXPECT_FALSE(list.FindFirst("Subj").has_value());
  EXPECT_EQ(list.FirstValue("To"), "");
}

TEST(HeaderList, RawValueIsDecodedOnReading) {
  HeaderList list;
  list.Parse("A: =?utf-8?Q?=C3=A9?=", false);
  EXPECT_TRUE(list.FindFirst("A")->Raw);
  EXPECT_EQ(list.FindFirst("A")->Value, u"=?utf-8?Q?=C3=A9?=");
  list.Parse("A: =?utf-8?Q?=C3=A9?=", true);
  EXPECT_FALSE(list.FindFirst("A")->Raw);
  EXPECT_EQ(list.FindFirst("A")->Value, u"\u00E9");
}

TEST(HeaderList, SetReplacesTheFirstOrAdds) {
  HeaderList list;
  list.Parse("A: 1\r\nB: 2\r\nA: 3", false);
  EXPECT_FALSE(list.Changed());
  list.Set("a", "x\xC3\xA9");
  list.Set("C", "new");
  list.Set("C", "newer");
  EXPECT_TRUE(list.Changed());
  EXPECT_EQ(Show(list), "[a|x\xC3\xA9][B|2][A|3][C|newer]");
}

const struct {
  const char *name, *header, *parameter;
  std::u16string_view value;
  const char *charset, *language;
} kParameters[] = {
    {"Plain", "Content-Type: a/b; Charset=utf-8; x=y", "charset", u"utf-8", "", ""},
    {"QuotesGo", "Content-Type: a/b;\r\n name = \"x y\" ", "name", u"x y", "", ""},
    {"Disposition", "CONTENT-DISPOSITION: attachment; filename=f", "filename", u"f", "", ""},
    {"Extended", "Content-Type: a/b; name*=utf-8'en'%C3%A9%20x", "name", u"\u00E9 x", "utf-8",
     "en"},
    {"ExtendedLatin", "Content-Type: a/b; name*=iso-8859-1''%E9", "name", u"\u00E9", "iso-8859-1",
     ""},
    {"ExtendedWithoutQuotes", "Content-Type: a/b; name*=%41b", "name", u"Ab", "", ""},
    {"PiecesJoinInNumberOrder",
     "Content-Type: a/b; name*2=c; name*0*=utf-8'en'%C3; name*1*=%A9; name*10=d", "name",
     u"\u00E9cd", "utf-8", "en"},
    {"FirstOfTwoCounts", "Content-Type: a/b; n=1; n=2", "n", u"1", "", ""},
    {"PiecesWithNothingAreDropped", "Content-Type: a/b; =x; y=; z; n=1", "n", u"1", "", ""},
};

TEST(HeaderList, Parameters) {
  for (const auto& c : kParameters) {
    HeaderList list;
    list.Parse(c.header, false);
    HeaderParameters parameters = list.At(0).Parameters;
    ASSERT_EQ(parameters.count(c.parameter), 1U) << c.name;
    const HeaderParameter& parameter = parameters[c.parameter];
    EXPECT_EQ(parameter.Name, c.parameter) << c.name;
    EXPECT_EQ(parameter.Value, c.value) << c.name;
    EXPECT_EQ(parameter.Charset, c.charset) << c.name;
    EXPECT_EQ(parameter.Language, c.language) << c.name;
  }
  HeaderList list;
  list.Parse("Subject: a; b=c", false);
  EXPECT_TRUE(list.At(0).Parameters.empty());
}

TEST(HeaderList, Serialises) {
  const std::string kLong(90, 'x');
  const struct {
    std::string name, header, value, text;
  } kWrites[] = {
      {"Short", "A", "b c", "A: b c"},
      {"FoldedAtTheLastBlank", "A", std::string(70, 'a') + " bbb cccc d",
       "A: " + std::string(70, 'a') + " bbb\r\n cccc d"},
      {"CutWithoutABlank", "A", kLong,
       "A: \r\n " + kLong.substr(0, 76) + "\r\n " + kLong.substr(76)},
      {"TypeIsCutAtBlanksOnly", "Content-Type", kLong + " y",
       "Content-Type: \r\n " + kLong + "\r\n y"},
      {"EachWordIsEncodedAlone", "A", "a \xC3\xA9 \xC3\xA4_? b  \xC3\xA9",
       "A: a =?UTF-8?Q?=C3=A9?= =?UTF-8?Q?=C3=A4=5F=3F?= b  =?UTF-8?Q?=C3=A9?="},
      {"LineEndsInAValueBeginNoHeader", "A", "b\r\nBcc: c\n", "A: b  Bcc: c "},
      {"LongNameTakesALineOfItsOwn", "A-Name-That-Is-Rather-Long", std::string(60, 'a'),
       "A-Name-That-Is-Rather-Long: \r\n " + std::string(60, 'a')},
  };
  for (const auto& c : kWrites) {
    HeaderList list;
    list.Set(c.header, c.value);
    EXPECT_EQ(list.Serialise(), c.text) << c.name;
  }
}

TEST(HeaderList, WhatItWritesReadsBack) {
  const std::string_view kValues[] = {
      "plain", "a \xC3\xA9t\xC3\xA9 \xE2\x82\xAC 5 b", "=?utf-8?Q?looks_like_a_word",
      "many words that go on and on until the line has to be folded somewhere about here or later",
      "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E \xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E and more of it, "
      "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E \xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E until it folds"};
  HeaderList list;
  for (std::string_view value : kValues) list.Set("X-" + std::to_string(list.Size()), value);
  HeaderList again;
  again.Parse(list.Serialise(), true);
  ASSERT_EQ(again.Size(), std::size(kValues));
  EXPECT_EQ(again.FirstValue("X-0"), kValues[0]);
  EXPECT_EQ(again.FirstValue("X-1"), kValues[1]);
  EXPECT_EQ(again.FirstValue("X-3"), kValues[3]);
  EXPECT_EQ(again.FirstValue("X-4"), kValues[4]);
}

TEST(HeaderList, HostileParametersStayBounded) {
  std::string block = "Content-Type: a/b";
  for (int i = 0; i < 200'000; ++i) block += "; n" + std::to_string(i) + "*0=v";
  HeaderList list;
  list.Parse(block, false);
  EXPECT_LE(list.At(0).Parameters.size(), 1000U);
}

}  // namespace
}  // namespace corvane
