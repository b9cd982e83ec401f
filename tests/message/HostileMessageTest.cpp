// Messages built to cost time or memory.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>

#include "message/MimeMessage.h"
#include "tests/message/HeapMeter.h"

namespace corvane {
namespace {

struct Hostile {
  const char* name;
  std::function<std::string()> make;
};

std::string Repeated(std::string_view piece, std::size_t size) {
  std::string text;
  text.reserve(size + piece.size());
  while (text.size() < size) text += piece;
  return text;
}

constexpr std::size_t kMegabyte = 1'000'000;
const std::string kMixed = "Content-Type: multipart/mixed; boundary=\"bound\"\r\n";

const Hostile kMessages[] = {
    {"BoundaryLikeLines",
     [] {
       return kMixed + "\r\n--bound\r\n\r\n" +
              Repeated("--bounx" + std::string(500, 'x') + "\r\n", 50 * kMegabyte) + "--bound--";
     }},
    {"BoundaryLikeLinesWithoutEnd",
     [] { return kMixed + "\r\n" + Repeated("\r\n--bounc\r\n--boun", 10 * kMegabyte); }},
    {"LargeHeaderBlock",
     [] {
       return Repeated("X-Header: some value that goes on for a while, as they do\r\n",
                       10 * kMegabyte) +
              "\r\nbody";
     }},
    {"OneLargeHeader",
     [] { return "Subject: " + Repeated("words\r\n ", 10 * kMegabyte) + "\r\n\r\nbody"; }},
    {"MillionEncodedWords",
     [] { return "Subject: " + Repeated("=?utf-8?Q?a?= ", 14 * kMegabyte) + "\r\n\r\nbody"; }},
    {"WordStarts", [] { return "Subject: " + Repeated("=?", 10 * kMegabyte) + "\r\n\r\nbody"; }},
    {"LargeParameter",
     [] {
       return "Content-Type: text/plain; name=\"" + std::string(kMegabyte, 'x') + "\"\r\n\r\nbody" +
              std::string(9 * kMegabyte, 'b');
     }},
    {"ManyParameters",
     [] {
       return "Content-Type: text/plain" + Repeated("; name*1*=x", kMegabyte) + "\r\n\r\nbody" +
              std::string(9 * kMegabyte, 'b');
     }},
    {"DeepNesting",
     [] {
       return kMixed + "\r\n" +
              Repeated("--bound\r\nContent-Type: multipart/mixed; boundary=\"bound\"\r\n\r\n",
                       10 * kMegabyte);
     }},
    {"QuotedPrintable",
     [] {
       return "Content-Transfer-Encoding: quoted-printable\r\n\r\n" +
              Repeated("=4", 10 * kMegabyte);
     }},
    {"LineFeedsAlone", [] { return "A: 1\n\n" + std::string(10 * kMegabyte, '\n'); }},
};

// Everything that a reader does with a message.
void ReadAll(Text text) {
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

// One second for 10 MB, and room for machines and builds that are slower than ours.
double AllowedSeconds(std::size_t size) {
  return 10.0 * static_cast<double>(size) / (10.0 * kMegabyte) + 0.5;
}

TEST(HostileMessage, TimeAndMemoryStayInBounds) {
  for (const Hostile& hostile : kMessages) {
    std::string text = hostile.make();
    std::size_t size = text.size();
    std::size_t before = test::HeapInUse();
    test::ResetHeapPeak();
    auto start = std::chrono::steady_clock::now();
    ReadAll(std::move(text));
    std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    EXPECT_LT(spent.count(), AllowedSeconds(size)) << hostile.name;
    // What was there before is the message itself, which Load takes over.
    std::size_t peak = test::HeapPeak() - before + size;
    EXPECT_LE(peak, size * 3 + 100'000) << hostile.name;
    RecordProperty(hostile.name, std::to_string(spent.count()));
    if (std::getenv("CORVANE_SHOW_FIGURES") != nullptr) {
      std::printf("%-28s %6.1f MB %7.3f s  peak %.2f times\n", hostile.name,
                  static_cast<double>(size) / kMegabyte, spent.count(),
                  static_cast<double>(peak) / static_cast<double>(size));
    }
  }
}

}  // namespace
}  // namespace corvane
