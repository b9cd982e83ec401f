// Paths, patterns and names as words; nothing here touches a disk.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "platform/NameTable.h"
#include "platform/Path.h"

namespace corvane::platform {
namespace {

TEST(Path, BecomesASystemPath) {
  // A product path and the system's.
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"", ""},
      {"\\", "/"},
      {"//", "/"},
      {"a", "a"},
      {"a\\", "a"},
      {"\\a\\b/c", "/a/b/c"},
      {"\\\\server\\share\\\\x//", "/server/share/x"},
      {"C:\\Mail\\SF", "C:/Mail/SF"},
      {"a\\.\\..\\b", "a/./../b"},
      {"a\\b c .MAI", "a/b c .MAI"},
  };
  for (const auto& [product, system] : cases) EXPECT_EQ(SystemPath(product), system) << product;
}

TEST(Path, IsJoinedAndTakenApart) {
  struct Case {
    std::string_view directory, name, joined, parent, last;
  };
  const Case cases[] = {
      {"a", "b", "a\\b", "a", "b"},   {"a\\", "b", "a\\b", "a", "b"},
      {"a/", "\\b", "a/b", "a", "b"}, {"a", "\\b\\c", "a\\b\\c", "a\\b", "c"},
      {"", "b", "b", "", "b"},        {"", "\\b", "\\b", "", "b"},
      {"\\", "b", "\\b", "", "b"},    {"a", "", "a\\", "a", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(JoinPath(c.directory, c.name), c.joined);
    EXPECT_EQ(ParentPath(c.joined), c.parent) << c.joined;
    EXPECT_EQ(FileName(c.joined), c.last) << c.joined;
  }
}

TEST(Path, PatternsMatchInAnyCase) {
  struct Case {
    std::string_view pattern;
    std::vector<std::string_view> matching, others;
  };
  const Case cases[] = {
      {"*.MAI", {"A1.MAI", "a1.mai", "_a1.MAI", ".MAI"}, {"_a1.MAI.tmp", "x.MAI2"}},
      {"_*.NEW", {"_5.NEW"}, {"5.NEW"}},
      {"*.*", {"noext"}, {}},
      {"*", {"noext", ""}, {}},
      {"?", {}, {""}},
      {"a?c", {"abc"}, {"abbc"}},
      {"*ab?", {"abcabd"}, {}},
      {"*a*a*a*a*a*a*c", {}, {"aaaaaaaaaaaaaaaaaaaaab"}},
      {"a\\*b", {}, {"a*b"}},
      {"abc*", {"abc"}, {}},
      {"", {}, {"abc"}},
  };
  for (const auto& [pattern, matching, others] : cases) {
    for (const auto name : matching) EXPECT_TRUE(MatchesPattern(name, pattern)) << name << pattern;
    for (const auto name : others) EXPECT_FALSE(MatchesPattern(name, pattern)) << name << pattern;
  }
}

TEST(Path, NamesFromOutsideAreJudged) {
  const std::string_view bad[] = {"",   ".",  "..",  "a/b", "a\\b", {"a\0b", 3}, "a\nb",  "a\x7F",
                                  "a.", "a ", "...", " ",   "\x1F", "/",         "..\\x", "a\tb"};
  for (const auto name : bad) EXPECT_FALSE(IsSafeName(name)) << name;
  const char* good[] = {"a", ".a", "a.b", "..a", "C:", "\xC3\xA4\xFF", "anna@acme", " a"};
  for (const auto name : good) EXPECT_TRUE(IsSafeName(name)) << name;
  EXPECT_TRUE(IsSafeName(std::string(255, 'x')));
  EXPECT_FALSE(IsSafeName(std::string(256, 'x')));
}

TEST(Path, OnlyAsciiLettersFold) {
  EXPECT_TRUE(EqualsNoCase("_INDEX.xml", "_index.XML"));
  EXPECT_FALSE(EqualsNoCase("\xC4", "\xE4"));
  EXPECT_FALSE(EqualsNoCase("@[", "`{"));
  EXPECT_FALSE(EqualsNoCase("a", "ab"));
}

TEST(NameTable, IsInOrderAndFolded) {
  const auto byName = [](const names::Row& a, const names::Row& b) { return a.folded < b.folded; };
  EXPECT_TRUE(std::is_sorted(names::TableBegin(), names::TableEnd(), byName));
  for (const names::Row* row = names::TableBegin(); row != names::TableEnd(); ++row) {
    EXPECT_EQ(names::Folded(row->spelling), row->folded);
  }
}

TEST(NameTable, TellsHowANameIsLookedFor) {
  // A name, how it is looked for, and how the table spells it.
  const std::tuple<std::string_view, names::Kind, std::string_view> cases[] = {
      {"0A.MAI", names::Kind::kExact, ""},
      {"_0a.mai", names::Kind::kExact, ""},
      {"anna@acme.upd", names::Kind::kExact, ""},
      {"_CHANGE.dty", names::Kind::kTable, "_CHANGE.DTY"},
      {"_INDEX.XML.BAK", names::Kind::kTable, "_index.xml.bak"},
      {"_12.new", names::Kind::kTable, "_12.NEW"},
      {"_.new", names::Kind::kSearched, ""},
      {"_1a.new", names::Kind::kSearched, ""},
      {"rules", names::Kind::kSearched, "RULES"},
      {"_SRCHIDX.UPD", names::Kind::kTable, "_srchidx.upd"},
      {"anna", names::Kind::kSearched, ""},
  };
  for (const auto& [name, kind, spelling] : cases) {
    const names::Rule rule = names::RuleFor(name);
    EXPECT_EQ(rule.kind, kind) << name;
    EXPECT_EQ(rule.spelling.value_or(""), spelling) << name;
  }
}

}  // namespace
}  // namespace corvane::platform
