// HTML to text and back.
#include <gtest/gtest.h>

#include "message/Html.h"

namespace corvane {
namespace {

const struct {
  std::string_view name, html, text;
} kStrips[] = {
    {"ParagraphIsALineEnd", "<p>Hello", "\r\nHello"},
    {"ParagraphWithAttributes", "a<P class=x>b", "a\r\nb"},
    {"BreakInAnyForm", "a<br>b<BR/>c<br clear=all>d", "a\r\nb\r\nc\r\nd"},
    {"OtherTagsVanish", "<pre>a</pre><b>b</b></p>", "ab"},
    {"OnlyTheBody", "<html><title>t</title><BODY bgcolor=red>x</Body>y", "x"},
    {"BodyWithoutEnd", "h<body>x<i>y", "xy"},
    {"BodyTagThatIsNotEnded", "a<body b", "abody b"},
    {"Entities", "&NBSP;&zwnj;&reg;&euro;&yen;&pound;&cent;", " \xAE\x80\xA5\xA3\xA2"},
    {"AmpersandIsReadBeforeAngles", "&amp;lt;b&amp;gt;x", "x"},
    {"EntityTagsAreTags", "&lt;i&gt;x&amp;amp;", "x&amp;"},
    {"LineEndBeforeBreakGoes", "a\r\n<br>b\n<p>c\r\n<b>d", "a\r\nb\r\nc\r\nd"},
    {"OpenTagIsDropped", "a < b <c", "a  b c"},
    {"TextBehindTheLastTag", "<i>a</i> tail", "a tail"},
    {"Empty", "", ""},
};

TEST(StripHtml, Cases) {
  for (const auto& c : kStrips) {
    std::string text(c.html);
    StripHtml(text);
    EXPECT_EQ(text, c.text) << c.name;
  }
  std::string text = "a<br>b";
  StripHtml(text, "\n");
  EXPECT_EQ(text, "a\nb");
}

TEST(EscapeText, Cases) {
  std::string text = "a<b>\r\nc\nd\re&amp;\r";
  EscapeText(text);
  EXPECT_EQ(text, "a&lt;b&gt;<br>c<br>d\re&amp;\r");
}

TEST(StripHtml, HostileTextIsLinear) {
  for (std::string_view piece : {"<", "&amp;", "<p", "\n<br", "<body", "&lt;", "<body>"}) {
    std::string text;
    while (text.size() < 4'000'000) text += piece;
    StripHtml(text);
    EXPECT_LE(text.size(), 8'000'000U) << piece;
  }
}

}  // namespace
}  // namespace corvane
