#include "tests/message/HostileMessages.h"

#include <tuple>

#include "message/MimeMessage.h"

namespace corvane::test {
namespace {

constexpr std::size_t kMegabyte = 1'000'000;

constexpr std::string_view kBody = "\r\n\r\nbody";

// `size` bytes of one piece between a head and a tail.
std::string Around(std::string_view head, std::string_view piece, std::size_t size,
                   std::string_view tail = {}) {
  std::string text(head);
  text.reserve(head.size() + size + piece.size() + tail.size());
  while (text.size() < head.size() + size) text += piece;
  return text.append(tail);
}

// Each line of the body holds all of a long boundary but its last character.
std::string LongBoundary() {
  const std::string boundary(kMegabyte / 10, 'b');
  return Around("Content-Type: multipart/mixed; boundary=\"" + boundary + "x\"\r\n\r\n",
                "--" + boundary + "\r\n", 10 * kMegabyte);
}

const std::string kMixed = "Content-Type: multipart/mixed; boundary=\"bound\"\r\n\r\n";

}  // namespace

const std::vector<HostileMessage>& HostileMessages() {
  static const std::vector<HostileMessage> messages = {
      {"BoundaryLikeLines",
       [] {
         return Around(kMixed + "--bound\r\n\r\n", "--bounx" + std::string(500, 'x') + "\r\n",
                       50 * kMegabyte, "--bound--");
       }},
      {"BoundaryLikeLinesWithoutEnd",
       [] { return Around(kMixed, "\r\n--bounc\r\n--boun", 10 * kMegabyte); }},
      {"LongBoundary", LongBoundary},
      {"LargeHeaderBlock",
       [] {
         return Around("", "X-Header: some value that goes on for a while, as they do\r\n",
                       10 * kMegabyte, "\r\nbody");
       }},
      {"OneLargeHeader", [] { return Around("Subject: ", "words\r\n ", 10 * kMegabyte, kBody); }},
      {"MillionEncodedWords",
       [] { return Around("Subject: ", "=?utf-8?Q?a?= ", 14 * kMegabyte, kBody); }},
      {"MillionWordsOfManyCharsets",
       [] {
         return Around("Subject: ", "=?koi8-r?B?wcI=?= =?gbk?Q?=D6=D0?= =?none?Q?=E9?= ",
                       14 * kMegabyte, kBody);
       }},
      {"WordStarts", [] { return Around("Subject: ", "=?", 10 * kMegabyte, kBody); }},
      {"LargeParameter",
       [] {
         return Around("Content-Type: text/plain; name=\"", "x", kMegabyte, "\"\r\n\r\nbody") +
                std::string(9 * kMegabyte, 'b');
       }},
      {"ManyParameters",
       [] {
         return Around("Content-Type: text/plain", "; name*1*=x", kMegabyte, kBody) +
                std::string(9 * kMegabyte, 'b');
       }},
      {"DeepNesting", [] { return Around(kMixed, "--bound\r\n" + kMixed, 10 * kMegabyte); }},
      {"ManyParts",
       [] { return Around(kMixed, "--bound\r\n\r\nx\r\n", 10 * kMegabyte, "--bound--"); }},
      {"QuotedPrintable",
       [] {
         return Around("Content-Transfer-Encoding: quoted-printable\r\n\r\n", "=4", 10 * kMegabyte);
       }},
      {"LineFeedsAlone", [] { return Around("A: 1\n\n", "\n", 10 * kMegabyte); }},
      {"HtmlOfTagStarts",
       [] { return Around("Content-Type: text/html\r\n\r\n", "<p<&amp;lt;\n", 10 * kMegabyte); }},
  };
  return messages;
}

void ReadEverything(Text text) {
  MimeMessage message;
  message.Load(std::move(text), false, true, false);
  message.ParseHeaders(message.Headers, false);
  for (const char* name : {"Subject", "From", "Content-Type", "Received"}) {
    std::ignore = message.Headers.FirstValue(name);
  }
  message.ParseParts(false);
  for (const MimePart& part : message.PartList) std::ignore = DecodedBody(part);
  std::string body;
  message.GetTextBody(body, "UTF-8", true);
}

}  // namespace corvane::test
