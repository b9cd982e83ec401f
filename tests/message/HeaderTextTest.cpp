// Single headers in raw text.
#include <gtest/gtest.h>

#include "message/HeaderText.h"

namespace corvane {
namespace {

TEST(FindHeaderInText, Cases) {
  const struct {
    std::string_view name, text, lineEnd;
    bool stopAtSemicolon, found;
    std::string_view value;
  } kFinds[] = {
      {"AtTheStart", "content-TYPE:\t a/b; c\r\nX: 1", "\r\n", false, true, "a/b; c"},
      {"BehindALineEnd", "X: 1\r\nContent-Type: a/b", "\r\n", false, true, "a/b"},
      {"NotInsideALine", "X: Content-Type: a/b\r\n", "\r\n", false, false, ""},
      {"NotAPrefix", "Content-Type-X: a/b\r\n", "\r\n", false, false, ""},
      {"FoldsAreJoined", "Content-Type: a/b;\r\n\t c=d\r\n e\r\nX: 1", "\r\n", false, true,
       "a/b;c=de"},
      {"StopsAtSemicolon", "Content-Type: a/b; c\r\n", "\r\n", true, true, "a/b"},
      {"StopsAtLineEnd", "Content-Type: a/b\r\n c\r\n", "\r\n", true, true, "a/b"},
      {"OtherLineEnd", "X: 1\nContent-Type: a\n b\nY: 2", "\n", false, true, "ab"},
      {"EmptyValue", "Content-Type:\r\nX: 1", "\r\n", false, true, ""},
      {"Empty", "", "\r\n", false, false, ""},
  };
  for (const auto& c : kFinds) {
    std::string value = "old";
    EXPECT_EQ(FindHeaderInText(c.text, "Content-Type", value, c.lineEnd, c.stopAtSemicolon),
              c.found)
        << c.name;
    EXPECT_EQ(value, c.value) << c.name;
  }
}

TEST(AddHeaderToText, Cases) {
  const struct {
    std::string name, text;
    bool inHeaderOnly;
    std::string_view result;
  } kAdds[] = {
      {"Replaces", "A: 1\r\nx-h: old\r\n more\r\nB: 2\r\n\r\nbody", true,
       "A: 1\r\nX-H: v\r\nB: 2\r\n\r\nbody"},
      {"AddsBehindTheLastLine", "A: 1\r\nB: 2\r\n c\r\n\r\nbody", true,
       "A: 1\r\nB: 2\r\n c\r\nX-H: v\r\n\r\nbody"},
      {"BodyIsLeft", "A: 1\r\n\r\nX-H: body", true, "A: 1\r\nX-H: v\r\n\r\nX-H: body"},
      {"AnywhereReplaces", "A: 1\r\n\r\nX-H: body\r\n", false, "A: 1\r\n\r\nX-H: v\r\n"},
      {"AnywhereAddsAtTheStart", "A: 1\r\n\r\nbody", false, "X-H: v\r\nA: 1\r\n\r\nbody"},
      {"NoFoldIsSplit", "A: 1\r\nB: 2\r\n c", true, "A: 1\r\nX-H: v\r\nB: 2\r\n c"},
      {"OneLineWithoutEnd", "A: 1", true, "X-H: v\r\nA: 1"},
      {"Empty", "", true, "X-H: v\r\n"},
  };
  for (const auto& c : kAdds) {
    std::string text = c.text;
    AddHeaderToText(text, "X-H:", "v", c.inHeaderOnly);
    EXPECT_EQ(text, c.result) << c.name;
  }
}

TEST(RemoveHeaderFromText, Cases) {
  const struct {
    std::string_view name, text;
    bool wholeText, removed;
    std::string_view result;
  } kRemoves[] = {
      {"AtTheStart", "X-H: 1\r\n 2\r\nA: 1\r\n\r\nb", false, true, "A: 1\r\n\r\nb"},
      {"LastHeader", "A: 1\r\nx-h: 1\r\n\r\nb", false, true, "A: 1\r\n\r\nb"},
      {"OnlyTheFirst", "X-H: 1\r\nX-H: 2\r\n\r\n", false, true, "X-H: 2\r\n\r\n"},
      {"LineFeeds", "A: 1\nX-H: 1\n\t2\nB: 2\n\nb", false, true, "A: 1\nB: 2\n\nb"},
      {"BodyIsLeft", "A: 1\r\n\r\nX-H: 1\r\n", false, false, "A: 1\r\n\r\nX-H: 1\r\n"},
      {"WholeText", "A: 1\r\n\r\nX-H: 1\r\nb", true, true, "A: 1\r\n\r\nb"},
      {"NotThere", "A: 1\r\n\r\n", false, false, "A: 1\r\n\r\n"},
  };
  for (const auto& c : kRemoves) {
    for (std::string_view name : {"X-H", "X-H:"}) {
      std::string result;
      EXPECT_EQ(RemoveHeaderFromText(c.text, name, result, c.wholeText), c.removed) << c.name;
      EXPECT_EQ(result, c.result) << c.name;
    }
  }
}

}  // namespace
}  // namespace corvane
