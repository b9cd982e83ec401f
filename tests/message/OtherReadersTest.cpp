// What we write, as another mail program reads it: Python's mail parser.
//
// Skipped where there is no Python.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "message/MimeMessage.h"
#include "tests/message/MessageTestSupport.h"
#include "tests/support/RunProgram.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {
namespace {

using nlohmann::json;

constexpr const char* kPython = "/usr/bin/python3";

// Prints the headers, the defects and the leaves of each message file as one JSON document a line.
constexpr const char* kReader = R"(
import email, email.policy, json, sys
for name in sys.argv[1:]:
    with open(name, 'rb') as f:
        m = email.message_from_binary_file(f, policy=email.policy.default)
    leaves = [p for p in m.walk() if not p.is_multipart()]
    print(json.dumps({
        'headers': {k: str(v) for k, v in m.items()},
        'defects': [type(d).__name__ for p in m.walk() for d in p.defects],
        'types': [p.get_content_type() for p in m.walk()],
        'names': [p.get_filename() or '' for p in leaves],
        'charsets': [p.get_content_charset() or '' for p in leaves],
        'bodies': [p.get_payload(decode=True).hex() for p in leaves]}))
)";

class OtherReaders : public testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kPython)) GTEST_SKIP() << "no Python here";
  }

  void Add(const MimeMessage& message) {
    files_.push_back(directory_ / (std::to_string(files_.size()) + ".eml"));
    WriteBytes(files_.back(), message.RawText);
  }

  // What the other reader makes of each message that was added.
  std::vector<json> Read() {
    std::vector<std::string> command = {kPython, "-c", kReader};
    command.insert(command.end(), files_.begin(), files_.end());
    ProgramResult result = RunProgram(command, {});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    std::vector<json> readings;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);) readings.push_back(json::parse(line));
    return readings;
  }

 private:
  TemporaryDirectory directory_;
  std::vector<std::string> files_;
};

// What this reader makes of a text: it drops the blank between two encoded words (RFC 2047, 6.2),
// and takes a line end for a blank.
std::string AsShown(std::string_view value) {
  const auto isEncoded = [](std::string_view word) {
    return std::any_of(word.begin(), word.end(), [](char c) { return (c & 0x80) != 0; });
  };
  std::string shown;
  bool lastEncoded = false;
  for (std::size_t at = 0; at <= value.size();) {
    const std::size_t end = std::min(value.find_first_of(" \r\n", at), value.size());
    const std::string_view word = value.substr(at, end - at);
    if (at > 0 && !(lastEncoded && isEncoded(word))) shown += ' ';
    shown += word;
    lastEncoded = isEncoded(word);
    at = end + 1;
  }
  return shown;
}

// A fold costs no blank. A value that begins on a line of its own has a blank in front for this
// reader.
TEST_F(OtherReaders, GetTheHeadersThatSerialiseWrites) {
  std::string manyWords, manyAccents;
  for (int i = 0; i < 40; ++i) {
    manyWords += (i == 0 ? "word" : " word") + std::to_string(i);
    manyAccents += (i % 3 == 0 ? " plain" : " \xC3\xA9t\xC3\xA9") + std::to_string(i);
  }
  const std::string kValues[] = {
      "plain",
      "a \xC3\xA9t\xC3\xA9 \xE2\x82\xAC 5 b",
      "\xC3\xA9 \xC3\xA4 \xC3\xB6",
      "100% =_? of \xE6\x97\xA5\xE6\x9C\xAC =_? it",
      manyWords,
      manyAccents.substr(1),
      "a line\r\nBcc: end",
  };
  for (const std::string& value : kValues) {
    MimeMessage message;
    HeaderList headers;
    headers.Set("From", "J\xC3\xB6rg M\xC3\xBCller <j@x.test>");
    headers.Set("Subject", value);
    message.HeaderBlock = headers.Serialise();
    message.Build();
    Add(message);
  }
  std::vector<json> readings = Read();
  ASSERT_EQ(readings.size(), std::size(kValues));
  for (std::size_t i = 0; i < readings.size(); ++i) {
    EXPECT_EQ(readings[i]["defects"], json::array()) << i;
    EXPECT_EQ(readings[i]["headers"].size(), 3U) << i;
    std::string subject = readings[i]["headers"]["Subject"];
    EXPECT_EQ(subject.substr(subject.find_first_not_of(' ')), AsShown(kValues[i])) << i;
    EXPECT_EQ(readings[i]["headers"]["From"], "J\xC3\xB6rg M\xC3\xBCller <j@x.test>") << i;
  }
}

TEST_F(OtherReaders, GetTheBodiesAndAttachmentsThatBuildWrites) {
  std::vector<std::array<std::string, 3>> all;  // text, HTML and attachment of each
  for (unsigned seed = 1; seed <= 40; ++seed) {
    all.push_back({RandomBytes(seed, seed * 7), RandomBytes(seed + 500, seed * 3),
                   RandomBytes(seed + 900, seed * 11)});
    const auto& [text, html, attached] = all.back();
    std::string_view encoding = seed % 2 == 0 ? "base64" : "quoted-printable";
    MimeMessage message;
    message.HeaderBlock = "Subject: x\r\nMIME-Version: 1.0";
    ASSERT_TRUE(SetPartBody(message.TextPart, text, encoding));
    ASSERT_TRUE(SetPartBody(message.HtmlPart, html, encoding));
    MimePart attachment;
    attachment.HeaderText =
        "Content-Type: application/octet-stream\r\nContent-Transfer-Encoding: base64\r\n"
        "Content-Disposition: attachment; filename=\"a b.bin\"";
    ASSERT_TRUE(SetPartBody(attachment, attached, "base64"));
    message.AttachmentList.push_back(attachment);
    message.Build();
    Add(message);
  }
  std::vector<json> readings = Read();
  ASSERT_EQ(readings.size(), all.size());
  for (std::size_t i = 0; i < readings.size(); ++i) {
    EXPECT_EQ(readings[i]["defects"], json::array()) << i;
    EXPECT_EQ(readings[i]["types"], json({"multipart/mixed", "multipart/alternative", "text/plain",
                                          "text/html", "application/octet-stream"}));
    EXPECT_EQ(readings[i]["names"], json({"", "", "a b.bin"})) << i;
    EXPECT_EQ(readings[i]["charsets"], json({"utf-8", "utf-8", ""})) << i;
    ASSERT_EQ(readings[i]["bodies"].size(), 3U) << i;
    for (std::size_t part = 0; part < 3; ++part) {
      EXPECT_EQ(FromHex(readings[i]["bodies"][part].get<std::string>()), all[i][part]) << i;
    }
  }
}

}  // namespace
}  // namespace corvane::test
