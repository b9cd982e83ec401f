// Encoded words of header text.
#include <gtest/gtest.h>

#include "message/EncodedWords.h"
#include "message/Unicode.h"

namespace corvane {
namespace {

const struct {
  std::string_view name, text, result;
} kWords[] = {
    {"PlainText", "just text", "just text"},
    {"LeadingWhiteSpaceGoes", "\r\n  text ", "text "},
    {"UnderscoreIsBlank", "=?utf-8?Q?a_b?=", "a b"},
    {"BlankBetweenWordsStays", "=?utf-8?Q?a?= =?utf-8?Q?b?=", "a b"},
    {"SeveralBlanksBetweenWordsStay", "=?utf-8?Q?a?=  =?utf-8?Q?b?=", "a  b"},
    {"WordsWithoutBlankMeet", "=?utf-8?Q?a?==?utf-8?B?Yg==?=", "ab"},
    {"CharacterSpreadOverTwoWords", "=?utf-8?Q?=C3?==?utf-8?Q?=A9?=", "\xC3\xA9"},
    {"LowerCaseEncoding", "=?UTF-8?b?w6k=?=", "\xC3\xA9"},
    {"Base64WithoutPadding", "=?utf-8?B?w6k?=", "\xC3\xA9"},
    {"Base64WithTooMuchPadding", "=?gb18030?B?suLK1A===?=", "\xE6\xB5\x8B\xE8\xAF\x95"},
    {"OtherEncodingIsQ", "=?utf-8?X?=C3=A9?=", "\xC3\xA9"},
    {"OtherCharset", "=?koi8-r?B?79TXxdQ=?=", "\xD0\x9E\xD1\x82\xD0\xB2\xD0\xB5\xD1\x82"},
    {"JapaneseWithEscapes", "=?iso-2022-jp?B?GyRCJUYbKEI=?=", "\xE3\x83\x86"},
    {"LanguageIsPassedOver", "=?utf-8*en?Q?=C3=A9?=", "\xC3\xA9"},
    {"UnknownCharsetKeepsBytes", "=?x-none?Q?caf=C3=A9?=", "caf\xC3\xA9"},
    {"UnknownCharsetWithLatinBytes", "=?x-none?Q?caf=E9?=", "caf\xC3\xA9"},
    {"BadBase64StandsAsItIs", "=?utf-8?B?a!b==?=", "a!b=="},
    {"EmptyWord", "a=?utf-8?Q?\?=b", "ab"},
    {"WordWithoutEnd", "=?utf-8?Q?abc def", "abc def"},
    {"EqualsAtTheStartOfAWord", "=?utf-8?Q?=41=42?=", "AB"},
    {"TextAround", "Re: =?utf-8?Q?=C3=A4?= (was: x)", "Re: \xC3\xA4 (was: x)"},
    {"OnlyLooksLikeAWord", "what =? is this? =?utf-8?Q?a?=", "what =? is this? a"},
    {"StartAlone", "a =?", "a =?"},
    {"CharsetAlone", "a =?utf-8", "a =?utf-8"},
    {"NoPayload", "a =?utf-8?Q", "a =?utf-8?Q"},
    {"RawUtf8", "caf\xC3\xA9", "caf\xC3\xA9"},
    {"RawLatin1", "caf\xE9 \x80", "caf\xC3\xA9 \xE2\x82\xAC"},
    {"BrokenUtf8InAWord", "=?utf-8?Q?a=C3?=", "a\xEF\xBF\xBD"},
};

TEST(DecodeEncodedWords, Cases) {
  for (const auto& c : kWords) {
    std::u16string wide = u"old";
    DecodeEncodedWords(c.text, wide);
    EXPECT_EQ(ToUtf8(wide), c.result) << c.name;
    EXPECT_EQ(DecodeEncodedWordsToUtf8(c.text), c.result) << c.name;
  }
}

TEST(DecodeEncodedWords, TakesWordsApartWithoutDecoding) {
  std::u16string wide;
  DecodeEncodedWords("=?UTF-8?Q?a_b=5F=C3=A9?= x", wide, false);
  EXPECT_EQ(wide, u"a b=5F=C3=A9 x");
  DecodeEncodedWords("=?UTF-8?Q?a=5Fb?=", wide, false, "utf-8", true);
  EXPECT_EQ(wide, u"a b");
  DecodeEncodedWords("=?UTF-8?B?YQ==?=", wide, false);
  EXPECT_EQ(wide, u"YQ==");
}

TEST(DecodeEncodedWords, OtherTargets) {
  std::u16string wide;
  DecodeEncodedWords("=?UTF-8?Q?=C3=A9?= \xC3\xA4", wide, true, "iso-8859-1");
  EXPECT_EQ(wide, u"\u00E9 \u00E4");
  DecodeEncodedWords("=?UTF-8?Q?=C3=A9?=", wide, true, "utf-16le");
  EXPECT_EQ(wide, u"\u00E9");
  DecodeEncodedWords("=?latin1?Q?=E9?=", wide, true, "x-none");
  EXPECT_EQ(wide, u"\u00E9");
  DecodeEncodedWords("\xE9", wide, true, "utf-8", false, true);
  EXPECT_EQ(wide, u"\uFFFD");
}

TEST(JoinEncodedWords, DropsOnlyWhatKeepsWordsApart) {
  EXPECT_EQ(JoinEncodedWords("a =?u?Q?b?= \t =?u?Q?c?= d"), "a =?u?Q?b?==?u?Q?c?= d");
  EXPECT_EQ(JoinEncodedWords("=?u?Q?b?= x =?u?Q?c?="), "=?u?Q?b?= x =?u?Q?c?=");
  EXPECT_EQ(JoinEncodedWords("a =? b"), "a =? b");
}

TEST(DecodeEncodedWords, MillionWordsAreLinear) {
  std::string text;
  for (int i = 0; i < 1'000'000; ++i) text += "=?utf-8?Q?a?=";
  EXPECT_EQ(DecodeEncodedWordsToUtf8(text).size(), 1'000'000U);
  std::string starts;
  for (int i = 0; i < 1'000'000; ++i) starts += "=? ";
  EXPECT_EQ(DecodeEncodedWordsToUtf8(starts).size(), starts.size());
  EXPECT_EQ(JoinEncodedWords(text).size(), text.size());
}

}  // namespace
}  // namespace corvane
