// Paths, patterns and names as words; nothing here touches a disk.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/NameTable.h"
#include "platform/Path.h"

namespace corvane::platform {
namespace {

using namespace std::string_literals;

TEST(Path, BecomesASystemPath) {
  struct Case {
    std::string_view product;
    std::string_view system;
  };
  const Case cases[] = {
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
  for (const Case& c : cases) EXPECT_EQ(SystemPath(c.product), c.system) << c.product;
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
    std::string_view name, pattern;
    bool matches;
  };
  const Case cases[] = {
      {"A1.MAI", "*.MAI", true},
      {"a1.mai", "*.MAI", true},
      {"_a1.MAI", "*.MAI", true},
      {"_a1.MAI.tmp", "*.MAI", false},
      {"x.MAI2", "*.MAI", false},
      {".MAI", "*.MAI", true},
      {"_5.NEW", "_*.NEW", true},
      {"5.NEW", "_*.NEW", false},
      {"noext", "*.*", true},
      {"noext", "*", true},
      {"", "*", true},
      {"", "?", false},
      {"abc", "a?c", true},
      {"abbc", "a?c", false},
      {"abcabd", "*ab?", true},
      {"aaaaaaaaaaaaaaaaaaaaab", "*a*a*a*a*a*a*c", false},
      {"a*b", "a\\*b", false},
      {"abc", "abc*", true},
      {"abc", "", false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(MatchesPattern(c.name, c.pattern), c.matches) << c.name << " " << c.pattern;
  }
}

TEST(Path, NamesFromOutsideAreJudged) {
  const std::string bad[] = {"",
                             ".",
                             "..",
                             "a/b",
                             "a\\b",
                             "a\0b"s,
                             "a\nb"s,
                             "a\x7F",
                             "a.",
                             "a ",
                             "...",
                             " ",
                             "\x1F"s,
                             "/",
                             "..\\x",
                             "a\tb",
                             std::string(256, 'x')};
  const std::string good[] = {
      "a", ".a", "a.b", "..a", "C:", "\xC3\xA4\xFF", "anna@acme", " a", std::string(255, 'x')};
  for (const std::string& name : bad) EXPECT_FALSE(IsSafeName(name)) << name;
  for (const std::string& name : good) EXPECT_TRUE(IsSafeName(name)) << name;
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
  struct Case {
    std::string_view name;
    names::Kind kind;
    std::string_view spelling;
  };
  const Case cases[] = {
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
  for (const Case& c : cases) {
    const names::Rule rule = names::RuleFor(c.name);
    EXPECT_EQ(rule.kind, c.kind) << c.name;
    EXPECT_EQ(rule.spelling.value_or(""), c.spelling) << c.name;
  }
}

}  // namespace
}  // namespace corvane::platform
