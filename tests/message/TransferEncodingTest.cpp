// Quoted-printable, Base64 and percent encoding.
#include <gtest/gtest.h>

#include "message/Base64.h"
#include "message/PercentDecode.h"
#include "message/QuotedPrintable.h"
#include "tests/message/MessageTestSupport.h"

namespace corvane::test {
namespace {

const struct {
  std::string_view name, text, result;
  bool underscoreIsBlank = false;
} kQuotedPrintable[] = {
    {"HexOfEitherCase", "=c3=A9.", "\xC3\xA9."},
    {"SoftBreaksVanish", "a=\r\nb=\nc", "abc"},
    {"SoftBreakAtTheEnd", "a=\r\n", "a"},
    {"LastEscapeIsRead", "a=41", "aA"},
    {"TrailingEqualsStays", "abc=", "abc="},
    {"OtherEqualsIsDropped", "a=zb=4xc= \r\nd", "azb4xc \r\nd"},
    {"CutEscapeLosesItsEquals", "a=4", "a4"},
    {"UnderscoreStays", "a_b.", "a_b."},
    {"UnderscoreIsBlank", "a_b=5F_.", "a b_ .", true},
    {"LastCharacterIsCopied", "a_", "a_", true},
};

TEST(QuotedPrintable, Decodes) {
  for (const auto& c : kQuotedPrintable) {
    std::string result;
    EXPECT_TRUE(DecodeQuotedPrintable(c.text, result, c.underscoreIsBlank)) << c.name;
    EXPECT_EQ(result, c.result) << c.name;
  }
  std::string result = "old";
  EXPECT_FALSE(DecodeQuotedPrintable("", result));
  EXPECT_EQ(result, "");
}

TEST(QuotedPrintable, EncodeQuotedStopsAtItsSize) {
  std::string result;
  EXPECT_TRUE(EncodeQuoted("a b=?_\x7F\xE9\t", result, 100));
  EXPECT_EQ(result, "a b=3D=3F=5F=7F=E9=09");
  EXPECT_TRUE(EncodeQuoted("a b", result, 3, true, true));
  EXPECT_EQ(result, "a_b");
  EXPECT_FALSE(EncodeQuoted("ab=", result, 4));
  EXPECT_TRUE(EncodeQuoted(std::string_view("a\0b", 3), result, 9, false));
  EXPECT_EQ(result, "a");
  EXPECT_TRUE(EncodeQuoted(std::string_view("a\0b", 3), result, 9, true));
  EXPECT_EQ(result, "a=00b");
}

TEST(QuotedPrintable, LinesStayBelowTheLimit) {
  std::string result;
  EncodeQuotedPrintable("abcdefgh", result, {.lineLimit = 5});
  EXPECT_EQ(result, "abcd=\r\nefgh");
  EncodeQuotedPrintable("ab\xE9\xE9", result, {.lineLimit = 6, .softBreakWithBlank = true});
  EXPECT_EQ(result, "ab=E9=\r\n =E9");
  EncodeQuotedPrintable("abc\r\nabcd", result, {.lineLimit = 5});
  EXPECT_EQ(result, "abc\r\nabcd");
  EncodeQuotedPrintable("a\r\nb", result, {.encodeLineEnds = true});
  EXPECT_EQ(result, "a=0D=0Ab");
}

TEST(QuotedPrintable, EverythingComesBack) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    std::string bytes = RandomBytes(seed, seed % 97 + 1);
    for (std::size_t limit : {0U, 1U, 4U, 72U}) {
      for (bool encodeLineEnds : {false, true}) {
        std::string encoded, decoded;
        EncodeQuotedPrintable(bytes, encoded,
                              {.lineLimit = limit, .encodeLineEnds = encodeLineEnds});
        ASSERT_TRUE(DecodeQuotedPrintable(encoded, decoded));
        ASSERT_EQ(decoded, bytes) << seed << " limit " << limit;
      }
    }
  }
}

const struct {
  std::string_view name, text;
  bool result;
  std::string_view bytes;
} kBase64[] = {
    {"Empty", "", true, ""},
    {"OneByte", "QQ==", true, "A"},
    {"TwoBytes", "QUI=", true, "AB"},
    {"ThreeBytes", "QUJD", true, "ABC"},
    {"WhiteSpaceAnywhere", " Q U\r\nJ\tD\nRA = =\r\n", true, "ABCD"},
    {"NoPaddingAtAll", "QUI", true, "AB"},
    {"SingleCharacterLeft", "QUJDR", false, "ABC"},
    {"HalfAPadding", "QQ=", false, "A"},
    {"TooMuchPadding", "QUI==", false, "AB"},
    {"PaddingAlone", "====", false, ""},
    {"TextBehindPadding", "QQ==QUJD", false, "A"},
    {"ForeignCharacter", "QUJD!QUJD", false, "ABC"},
    {"Highest", "////", true, "\xFF\xFF\xFF"},
};

TEST(Base64, Decodes) {
  for (const auto& c : kBase64) {
    std::string bytes;
    EXPECT_EQ(DecodeBase64(c.text, bytes), c.result) << c.name;
    EXPECT_EQ(bytes, c.bytes) << c.name;
  }
}

TEST(Base64, EverythingComesBackFromOneLine) {
  for (unsigned size = 0; size <= 300; ++size) {
    std::string bytes = RandomBytes(size + 1, size);
    std::string encoded;
    EncodeBase64(bytes, encoded);
    EXPECT_EQ(encoded.size(), (size + 2) / 3 * 4);
    EXPECT_EQ(encoded.find('\n'), std::string::npos);
    for (std::size_t at = 60; at < encoded.size(); at += 61) encoded.insert(at, "\r\n");
    std::string decoded;
    ASSERT_TRUE(DecodeBase64(encoded, decoded)) << size;
    ASSERT_EQ(decoded, bytes) << size;
  }
}

TEST(PercentDecode, Cases) {
  EXPECT_EQ(PercentDecode("a%20b%C3%a9"), "a b\xC3\xA9");
  EXPECT_EQ(PercentDecode("%#65;%#66 %#67"), "AB C");
  EXPECT_EQ(PercentDecode("100% %4 %zz %# %#x %"), "100% %4 %zz %# %#x %");
  EXPECT_EQ(PercentDecode("%#321;"), "A");
}

}  // namespace
}  // namespace corvane::test
