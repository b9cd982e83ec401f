#include "tests/message/HostileMessages.h"

#include <tuple>

#include "message/MimeMessage.h"

namespace corvane::test {
namespace {

constexpr std::size_t kMegabyte = 1'000'000;
constexpr std::string_view kMixed = "Content-Type: multipart/mixed; boundary=\"bound\"\r\n";

std::string Repeated(std::string_view piece, std::size_t size) {
  std::string text;
  text.reserve(size + piece.size());
  while (text.size() < size) text += piece;
  return text;
}

std::string BoundaryLikeLines() {
  return std::string(kMixed) + "\r\n--bound\r\n\r\n" +
         Repeated("--bounx" + std::string(500, 'x') + "\r\n", 50 * kMegabyte) + "--bound--";
}

std::string BoundaryLikeLinesWithoutEnd() {
  return std::string(kMixed) + "\r\n" + Repeated("\r\n--bounc\r\n--boun", 10 * kMegabyte);
}

// Each line of the body holds all of a long boundary but its last character.
std::string LongBoundary() {
  std::string boundary(kMegabyte / 10, 'b');
  return "Content-Type: multipart/mixed; boundary=\"" + boundary + "x\"\r\n\r\n" +
         Repeated("--" + boundary + "\r\n", 10 * kMegabyte);
}

std::string LargeHeaderBlock() {
  return Repeated("X-Header: some value that goes on for a while, as they do\r\n", 10 * kMegabyte) +
         "\r\nbody";
}

std::string OneLargeHeader() {
  return "Subject: " + Repeated("words\r\n ", 10 * kMegabyte) + "\r\n\r\nbody";
}

std::string MillionEncodedWords() {
  return "Subject: " + Repeated("=?utf-8?Q?a?= ", 14 * kMegabyte) + "\r\n\r\nbody";
}

std::string MillionWordsOfManyCharsets() {
  return "Subject: " +
         Repeated("=?koi8-r?B?wcI=?= =?gbk?Q?=D6=D0?= =?none?Q?=E9?= ", 14 * kMegabyte) +
         "\r\n\r\nbody";
}

std::string WordStarts() { return "Subject: " + Repeated("=?", 10 * kMegabyte) + "\r\n\r\nbody"; }

std::string LargeParameter() {
  return "Content-Type: text/plain; name=\"" + std::string(kMegabyte, 'x') + "\"\r\n\r\nbody" +
         std::string(9 * kMegabyte, 'b');
}

std::string ManyParameters() {
  return "Content-Type: text/plain" + Repeated("; name*1*=x", kMegabyte) + "\r\n\r\nbody" +
         std::string(9 * kMegabyte, 'b');
}

std::string DeepNesting() {
  return std::string(kMixed) + "\r\n" +
         Repeated("--bound\r\nContent-Type: multipart/mixed; boundary=\"bound\"\r\n\r\n",
                  10 * kMegabyte);
}

std::string ManyParts() {
  return std::string(kMixed) + "\r\n" + Repeated("--bound\r\n\r\nx\r\n", 10 * kMegabyte) +
         "--bound--";
}

std::string QuotedPrintable() {
  return "Content-Transfer-Encoding: quoted-printable\r\n\r\n" + Repeated("=4", 10 * kMegabyte);
}

std::string LineFeedsAlone() { return "A: 1\n\n" + std::string(10 * kMegabyte, '\n'); }

std::string HtmlOfTagStarts() {
  return "Content-Type: text/html\r\n\r\n" + Repeated("<p<&amp;lt;\n", 10 * kMegabyte);
}

}  // namespace

const std::vector<HostileMessage>& HostileMessages() {
  static const std::vector<HostileMessage> messages = {
      {"BoundaryLikeLines", BoundaryLikeLines},
      {"BoundaryLikeLinesWithoutEnd", BoundaryLikeLinesWithoutEnd},
      {"LongBoundary", LongBoundary},
      {"LargeHeaderBlock", LargeHeaderBlock},
      {"OneLargeHeader", OneLargeHeader},
      {"MillionEncodedWords", MillionEncodedWords},
      {"MillionWordsOfManyCharsets", MillionWordsOfManyCharsets},
      {"WordStarts", WordStarts},
      {"LargeParameter", LargeParameter},
      {"ManyParameters", ManyParameters},
      {"DeepNesting", DeepNesting},
      {"ManyParts", ManyParts},
      {"QuotedPrintable", QuotedPrintable},
      {"LineFeedsAlone", LineFeedsAlone},
      {"HtmlOfTagStarts", HtmlOfTagStarts},
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
