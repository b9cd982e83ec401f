// MessageShowTest.cpp -- cvctl message show: the JSON form that other programs read, and the plain
// one.
#include <tuple>

#include "tests/tools/cvctl/CvctlFixture.h"

namespace corvane {
namespace {

using nlohmann::json;

constexpr const char* kMessage =
    "Received: from a by b; Sun, 1 Jan 2023 10:00:05 +0200\n"
    "From: =?iso-8859-1?Q?J=F6rg?= <j@x.test>\n"
    "To: a@x.test\n"
    "Subject: =?utf-8?Q?gr=C3=B6?=\n"
    "\t=?utf-8?Q?=C3=9Fer?= als\n"
    "Date: Sun, 1 Jan 2023 10:00:00 +0200\n"
    "Message-ID: <1@x.test>\n"
    "X-Raw: caf\xE9\n"
    "Content-Type: multipart/mixed; boundary=\"b\"\n\n"
    "--b\n"
    "Content-Type: text/plain; charset=iso-8859-1\n\n"
    "na\xEFve\n"
    "--b\n"
    "Content-Type: application/pdf; name=x.pdf\n"
    "Content-Disposition: attachment; filename*=utf-8''%C3%A9.pdf\n"
    "Content-Transfer-Encoding: base64\n"
    "Content-ID: <id>\n\n"
    "YWJj\n"
    "--b--\n";

class MessageShowTest : public testing::Test {
 protected:
  static test::ProgramResult Show(test::Words words) {
    words.insert(words.begin(), {"message", "show"});
    return test::RunCvctl(words);
  }
  json ShowJson(const std::string& content) {
    test::WriteBytes(file_, content);
    test::ProgramResult result = Show({file_, "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return json::parse(result.output);
  }

  test::TemporaryDirectory directory_;
  std::string file_ = directory_ / "message.mai";
};

TEST_F(MessageShowTest, JsonHoldsHeadersPartsAndBodies) {
  json shown = ShowJson(kMessage);
  const std::pair<const char*, json> fields[] = {{"subject", "gr\u00F6\u00DFer als"},
                                                 {"from", "J\xC3\xB6rg <j@x.test>"},
                                                 {"cc", ""},
                                                 {"messageId", "<1@x.test>"},
                                                 {"date", "2023-01-01T08:00:00"},
                                                 {"received", "2023-01-01T08:00:05"},
                                                 {"structureComplete", true},
                                                 {"text", "na\xC3\xAFve"},
                                                 {"html", ""}};
  for (const auto& [name, value] : fields) EXPECT_EQ(shown[name], value) << name;
  ASSERT_EQ(shown["headers"].size(), 8U);
  EXPECT_EQ(shown["headers"][6], json({{"name", "X-Raw"}, {"value", "caf\xC3\xA9"}}));
  ASSERT_EQ(shown["parts"].size(), 2U);
  EXPECT_EQ(shown["parts"][1],
            json({{"number", 2},
                  {"contentType", "application/pdf"},
                  {"charset", ""},
                  {"transferEncoding", "base64"},
                  {"disposition", "attachment"},
                  {"filename", "\xC3\xA9.pdf"},
                  {"name", "x.pdf"},
                  {"displayName", "x.pdf"},
                  {"contentId", "id"},
                  {"boundary", "b"},
                  {"originalSize", 4},
                  {"decodedSize", 3},
                  {"decodedSha256",
                   "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"}}));
}

TEST_F(MessageShowTest, AnyBytesGiveOneJsonDocument) {
  EXPECT_EQ(ShowJson("")["parts"].size(), 0U);
  EXPECT_EQ(ShowJson("no headers at all")["structureComplete"], false);
  std::string body(200'000, '\xE9');
  body += std::string("\0\x01\xC3\xA9\x80\"\\", 7);
  EXPECT_EQ(ShowJson("A: 1\n\n" + body)["parts"][0]["decodedSize"], body.size());
  std::string wide;
  for (int i = 0; i < 50'000; ++i) wide += "\xE2\x82\xAC";
  EXPECT_EQ(ShowJson("A: 1\n\n." + wide)["text"], "." + wide);
}

TEST_F(MessageShowTest, PlainViewIsForPeople) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"several parts", kMessage,
       "From: J\xC3\xB6rg <j@x.test>\nTo: a@x.test\nDate: 2023-01-01T08:00:00\n"
       "Subject: gr\u00F6\u00DFer als\nParts:\n  multipart/mixed\n"
       "    text/plain, iso-8859-1, 5 bytes\n"
       "    application/pdf, \"x.pdf\", 3 bytes, attachment\n\nna\xC3\xAFve\n"},
      {"HTML alone",
       "Subject: x\x1B[2Jy\nContent-Type: text/html; charset=utf-8\n\n"
       "<p>caf\xC3\xA9 5 &euro;\n<br>\x07\xC2\x9B.\n",
       "Subject: x?[2Jy\nParts:\n  text/html, utf-8, 29 bytes\n\n"
       "\ncaf\xC3\xA9 5 \xE2\x82\xAC\n??.\n"},
  };
  for (const auto& [name, message, shown] : cases) {
    test::WriteBytes(file_, message);
    const test::ProgramResult result = Show({file_});
    EXPECT_EQ(result.exitCode, 0) << name;
    EXPECT_EQ(result.output, shown) << name;
  }
}

TEST_F(MessageShowTest, WhatCannotBeReadIsSaidInOneLine) {
  const std::string empty = directory_ / "empty.mai";
  test::WriteBytes(empty, "");
  const test::Refusal cases[] = {
      {{directory_ / "none.mai", "--json"}, 1, "check the path"},
      {{directory_ / "none.mai"}, 1, "check the path"},
      {{directory_.Path(), "--json"}, 2, "is a directory"},
      {{empty}, 2, "is empty"},
  };
  for (const test::Refusal& row : cases) test::ExpectRefused(Show(row.words), row);
}

}  // namespace
}  // namespace corvane
