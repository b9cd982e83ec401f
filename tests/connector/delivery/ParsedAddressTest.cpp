// Address items and recipient lists.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "connector/delivery/ParsedAddress.h"

namespace corvane {
namespace {

const struct {
  const char *item, *connector, *postoffice, *mailbox, *smtp;
  const char* internet;  // null: none
} kParses[] = {
    {"[SF:acme/anna]", "SF", "acme", "anna", "", "anna@acme"},
    {"[LS:acme/list]", "LS", "acme", "list", "", nullptr},
    {"[SMTP:a@b.example]", "SMTP", "", "", "a@b.example", "a@b.example"},
    {"[X400:who]", "X400", "", "", "", nullptr},
    {"[SF:acme/]]", "SF", "acme", "]", "", "]@acme"},
    {"[SF:acme/anna", "SF", "acme", "anna", "", "anna@acme"},
    {"SF:acme/anna]", "", "", "", "", nullptr},
    {"[", "", "", "", "", nullptr},
    {"", "", "", "", "", nullptr},
};

TEST(ParsedAddressTest, TakesItemsApart) {
  for (const auto& row : kParses) {
    SCOPED_TRACE(row.item);
    const ParsedAddress parsed = ParsedAddress::Parse(row.item);
    EXPECT_EQ(parsed.Raw, row.item);
    EXPECT_EQ(parsed.Connector, row.connector);
    EXPECT_EQ(parsed.Postoffice, row.postoffice);
    EXPECT_EQ(parsed.Mailbox, row.mailbox);
    EXPECT_EQ(parsed.SmtpAddress, row.smtp);
    std::string address = "before";
    EXPECT_EQ(parsed.ToInternetAddress(address), row.internet != nullptr);
    EXPECT_EQ(address, row.internet != nullptr ? row.internet : "");
  }
}

const struct {
  const char* item;
  bool hasSigns, closed;
  const char *postoffice, *name;
} kSplits[] = {
    {"[SF:acme/a]", true, true, "acme", "a"},
    {"[SF:acme/]", true, false, "acme", ""},
    {"[SF:acme/anna", true, false, "acme", ""},
    {"[SMTP:a@b.example]", false, false, "", ""},
    {"[SMTP:a/b@c]", true, true, "a", "b@c"},
    {"acme/anna", false, false, "", ""},
    {"", false, false, "", ""},
    {"[SF:a/b/c]", true, true, "a", "b/c"},
    {"a/b:c]", true, true, "", "b:c"},
};

TEST(ParsedAddressTest, ReadsARecipientByItsSignsAlone) {
  for (const auto& row : kSplits) {
    SCOPED_TRACE(row.item);
    const RecipientNames names = SplitRecipient(row.item);
    EXPECT_EQ(names.hasSigns, row.hasSigns);
    EXPECT_EQ(names.closed, row.closed);
    EXPECT_EQ(names.postoffice, row.postoffice);
    EXPECT_EQ(names.name, row.name);
  }
}

TEST(ParsedAddressTest, WalksAListToItsEnd) {
  const struct {
    std::string list;
    std::size_t count;
    std::vector<std::string> items;
  } cases[] = {
      {"", 0, {}},
      {"[SF:a/b]", 1, {"[SF:a/b]"}},
      {"a;b", 2, {"a", "b"}},
      {"a;", 2, {"a", ""}},
      {";", 1, {";"}},
      {";a", 1, {";a"}},
      {"a;;b", 3, {"a", "", "b"}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.list);
    RecipientWalker walker(row.list);
    EXPECT_EQ(walker.Count(), row.count);
    std::vector<std::string> items;
    while (const auto item = walker.Next()) items.emplace_back(*item);
    EXPECT_EQ(items, row.items);
  }
}

TEST(ParsedAddressTest, AMillionSeparatorsAreWalkedInOneGo) {
  const std::string list(1'200'000, ';');
  RecipientWalker walker(list);
  EXPECT_EQ(walker.Count(), 1'000'000U);
  EXPECT_FALSE(walker.HasMore());
  std::size_t items = 0;
  while (walker.Next()) ++items;
  EXPECT_EQ(items, 1'000'000U);
}

TEST(ParsedAddressTest, KnowsTheLastItemThatMatters) {
  RecipientWalker walker("a;b;;");
  EXPECT_EQ(walker.Next(), "a");
  EXPECT_TRUE(walker.HasMore());
  EXPECT_EQ(walker.Next(), "b");
  EXPECT_FALSE(walker.HasMore());
}

TEST(ParsedAddressTest, OnlySmtpSendersHaveAnAddress) {
  EXPECT_EQ(SenderAddress("[SMTP:a@b]"), "a@b");
  EXPECT_EQ(SenderAddress("[SMTP:]"), "");
  EXPECT_EQ(SenderAddress("[SF:acme/anna]"), "");
  EXPECT_EQ(SenderAddress("[SMTP:a@b"), "");
  EXPECT_EQ(SenderAddress("[SMTP:" + std::string(2000, 'x') + "]").size(), 1023U);
}

}  // namespace
}  // namespace corvane
