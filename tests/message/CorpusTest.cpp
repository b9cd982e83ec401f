// Real messages against what other software reads out of them.
//
// Skipped where the corpus isn't there (CORVANE_CORPUS names its folder). Each disagreement must
// belong to a class that is a rule of this reader; the table of agreement is printed.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "cvctl/Sha256.h"
#include "message/Ascii.h"
#include "message/CodePages.h"
#include "message/EncodedWords.h"
#include "message/MessageDate.h"
#include "message/MimeMessage.h"
#include "tests/message/MessageTestSupport.h"
#include "tests/support/Corpus.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {
namespace {

using nlohmann::json;

// Runs of white space (the wide blank too) as one blank, none at the ends.
std::string Squeezed(std::string text) {
  constexpr std::string_view kWideBlank = "\xE3\x80\x80";
  for (std::size_t at = text.find(kWideBlank); at != text.npos; at = text.find(kWideBlank, at)) {
    text.replace(at, kWideBlank.size(), " ");
  }
  std::string result;
  for (char c : text) {
    if (!IsWhiteSpace(c)) {
      result.push_back(c);
    } else if (!result.empty() && result.back() != ' ') {
      result.push_back(' ');
    }
  }
  if (result.ends_with(' ')) result.pop_back();
  return result;
}

// A body as the other readers hand it out: LF line ends, no white space at its end.
std::string WithLineFeeds(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    bool pair = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
    if (!pair) result.push_back(text[i] == '\r' ? '\n' : text[i]);
  }
  while (!result.empty() && IsWhiteSpace(result.back())) result.pop_back();
  return result;
}

// The same without white space at its start, which we pass over.
std::string Plain(std::string_view text) {
  std::string result = WithLineFeeds(text);
  result.erase(0, std::min(result.find_first_not_of(" \t\r\n\v\f"), result.size()));
  return result;
}

constexpr const char* kStartGoes = "white space at the start goes";

struct Tally {
  std::size_t agree = 0;
  std::map<std::string, std::size_t> explained;
  std::vector<std::string> unexplained;
};

// One message, ours and theirs.
struct Reading {
  const json& theirs;
  MimeMessage message;
  bool complete = false;
  std::set<std::string> traits;

  [[nodiscard]] bool Has(const char* trait) const { return traits.count(trait) != 0; }
  [[nodiscard]] std::string File() const { return theirs["file"]; }
};

class Comparison {
 public:
  void Compare(Reading& reading) {
    CompareHeader(reading, "subject", "Subject");
    CompareAddresses(reading);
    CompareDate(reading);
    CompareParts(reading);
    CompareBody(reading, "first_plain", &MimeMessage::GetTextBody, &MimeMessage::TextPart);
    CompareBody(reading, "first_html", &MimeMessage::GetHtmlBody, &MimeMessage::HtmlPart);
  }

  // Prints the table; how many agree, and how many don't for a reason that nobody knows.
  std::pair<std::size_t, std::size_t> Report() const {
    std::pair<std::size_t, std::size_t> sums;
    for (const auto& [field, tally] : tallies_) {
      std::printf("%-12s agree %4zu", field.c_str(), tally.agree);
      for (const auto& [reason, count] : tally.explained) {
        std::printf("; %s %zu", reason.c_str(), count);
      }
      std::printf("; unexplained %zu\n", tally.unexplained.size());
      for (const std::string& line : tally.unexplained) std::printf("    %s\n", line.c_str());
      sums.first += tally.agree;
      sums.second += tally.unexplained.size();
    }
    return sums;
  }

 private:
  // Counts one value; `reason` is the class of a disagreement, empty for none.
  void Count(const Reading& reading, const std::string& field, bool agrees,
             const std::string& reason, const std::string& detail) {
    Tally& tally = tallies_[field];
    if (agrees) {
      ++tally.agree;
    } else if (!reason.empty()) {
      ++tally.explained[reason];
    } else {
      tally.unexplained.push_back(reading.File() + ": " + detail.substr(0, 160));
    }
  }

  static bool BothSay(const json& field) { return field["by"] == "both"; }

  static std::string Joined(const Reading& reading, const char* name) {
    std::optional<MessageHeader> header = reading.message.Headers.FindFirst(name);
    if (!header) return {};
    std::string raw;
    for (char16_t unit : header->Value) raw.push_back(static_cast<char>(unit));
    return Squeezed(DecodeEncodedWordsToUtf8(JoinEncodedWords(raw)));
  }

  // Why a header may read otherwise.
  static std::string HeaderReason(const Reading& reading) {
    if (reading.Has("cs:utf-7")) return "charset outside the table";
    if (reading.Has("bare-cr")) return "bare CR line ends";
    std::string_view raw = reading.message.RawText;
    if (raw.starts_with("\r\n")) return "empty first line";
    return "";
  }

  void CompareHeader(const Reading& reading, const char* field, const char* name) {
    const json& theirs = reading.theirs[field];
    if (!BothSay(theirs)) return;
    std::string expected = theirs["v"].is_null() ? "" : theirs["v"].get<std::string>();
    std::string ours = Joined(reading, name);
    Count(reading, field, ours == expected, HeaderReason(reading), ours + " | " + expected);
  }

  void CompareAddresses(const Reading& reading) {
    for (const char* field : {"from", "to", "cc"}) {
      const json& theirs = reading.theirs[field];
      if (!BothSay(theirs) || theirs["v"].is_null()) continue;
      std::string ours = Joined(reading, field);
      std::erase_if(ours, [](char c) { return c == '"' || c == '\\'; });
      std::string missing;
      bool comment = ours.find('(') != ours.npos;
      for (const json& address : theirs["v"]) {
        for (const json& word : address) {
          std::string text = word.is_null() ? "" : Squeezed(word.get<std::string>());
          std::erase_if(text, [](char c) { return c == '"' || c == '\\'; });
          if (ours.find(text) == ours.npos) missing = text;
        }
      }
      std::string reason = HeaderReason(reading);
      if (reason.empty() && comment) reason = "comments inside addresses stay";
      std::size_t count = 0;
      for (std::size_t i = 0; i < reading.message.Headers.Size(); ++i) {
        if (EqualsIgnoringCase(reading.message.Headers.At(i).Name, field)) ++count;
      }
      if (reason.empty() && count > 1) reason = "several headers of that name";
      Count(reading, field, missing.empty(), reason, ours + " | " + missing);
    }
  }

  void CompareDate(const Reading& reading) {
    const json& theirs = reading.theirs["date_utc"];
    if (!BothSay(theirs)) return;
    std::string expected = theirs["v"].is_null() ? "" : theirs["v"].get<std::string>();
    if (expected.ends_with('Z')) expected.pop_back();
    std::string raw = reading.message.Headers.FirstValue("Date");
    std::string ours;
    ParseMessageDate(raw, ours);
    std::string reason = HeaderReason(reading);
    if (ours.starts_with("20") && expected.starts_with("19") &&
        ours.substr(2) == expected.substr(2)) {
      reason = "two-digit year is of this century";
    }
    if (ours.empty()) reason = "date ends before the blank behind its seconds";
    if (ContainsIgnoringCase(raw, "June") || ContainsIgnoringCase(raw, "July")) {
      reason = "month written out";
    }
    Count(reading, "date", ours == expected, reason, raw + " | " + ours + " | " + expected);
  }

  // Why the structure may read otherwise.
  static std::string StructureReason(const Reading& reading) {
    if (reading.Has("no-blank-line") || !reading.message.HeaderEnd) return "no empty line";
    if (reading.Has("bare-cr")) return "bare CR line ends";
    if (!reading.complete) return "a marker or empty line is missing";
    if (reading.Has("embedded-message")) return "embedded messages are one part";
    if (reading.Has("missing-close-boundary")) return "a marker or empty line is missing";
    if (reading.Has("mixed-line-ends")) return "mixed line ends";
    if (reading.message.RawText.View().find("\r\n --") != std::string_view::npos) {
      return "a marker behind white space at the start of a body counts";
    }
    return "";
  }

  void CompareParts(Reading& reading) {
    const json& count = reading.theirs["part_count"];
    if (!BothSay(count)) return;
    const std::vector<MimePart>& ours = reading.message.PartList;
    bool same = ours.size() == count["v"].get<std::size_t>();
    Count(reading, "part_count", same, StructureReason(reading),
          std::to_string(ours.size()) + " | " + count["v"].dump());
    if (!same) return;
    for (std::size_t i = 0; i < ours.size(); ++i)
      ComparePart(reading, ours[i], reading.theirs["parts"][i]);
  }

  void ComparePart(const Reading& reading, const MimePart& ours, const json& theirs) {
    std::string type = ours.ContentType.String();
    std::transform(type.begin(), type.end(), type.begin(), LowerCase);
    bool embedded = type.starts_with("message/");
    std::string reason = embedded ? "embedded messages are one part" : "";
    if (BothSay(theirs["type"])) {
      Count(reading, "type", type == theirs["type"]["v"].get<std::string>(), reason, type);
    }
    if (embedded) return;
    if (BothSay(theirs["filename"])) {
      const json& v = theirs["filename"]["v"];
      std::string expected = v.is_null() ? "" : v.get<std::string>();
      bool found = Squeezed(ours.Filename.String()) == Squeezed(expected) ||
                   Squeezed(ours.DisplayName.String()) == Squeezed(expected) ||
                   ours.Name == expected;
      std::string both = ours.Filename.String() + ours.Name.String();
      std::string why = both.find("=?") != both.npos ? "encoded words inside a name" : "";
      Count(reading, "filename", found, why, both + " | " + expected);
    }
    CompareHash(reading, ours, theirs);
  }

  // The body with the white space that is passed over between the empty line and its first word.
  static Text WithItsStart(const Reading& reading, const MimePart& part) {
    std::string_view raw = reading.message.RawText;
    std::string_view body = part.Body;
    if (body.empty()) return DecodedBody(part);
    auto end = static_cast<std::size_t>(body.data() - raw.data()) + body.size();
    std::size_t behind = raw.find_last_not_of(" \t\r\n", end - body.size() - 1);
    std::size_t start = raw.find("\r\n\r\n", behind);
    if (start == raw.npos) return DecodedBody(part);
    MimePart whole = part;
    whole.Body = Text(raw.substr(start + 4, end - start - 4));
    return DecodedBody(whole);
  }

  // Base64 byte for byte; anything else with LF line ends and without white space at its end.
  void CompareHash(const Reading& reading, const MimePart& ours, const json& theirs) {
    bool base64 = EqualsIgnoringCase(ours.TransferEncoding, "base64");
    const json& field = theirs[base64 ? "sha256" : "sha256_norm"];
    if (!BothSay(field) || field["v"].is_null()) return;
    auto hash = [&](const Text& body) {
      return cvctl::Sha256(base64 ? body.String() : WithLineFeeds(body));
    };
    std::string expected = field["v"];
    std::string reason = ContentReason(reading, ours);
    if (reason.empty() && hash(WithItsStart(reading, ours)) == expected) reason = kStartGoes;
    Count(reading, base64 ? "hash base64" : "hash other", hash(DecodedBody(ours)) == expected,
          reason, ours.TransferEncoding.String() + " " + ours.Body.String());
  }

  // Why a body may read otherwise.
  static std::string ContentReason(const Reading& reading, const MimePart& part) {
    bool known = false;
    Text body = DecodedBody(part, &known);
    bool base64 = EqualsIgnoringCase(part.TransferEncoding, "base64");
    if (!known) return base64 ? "Base64 that breaks off stays" : "other encodings stay";
    bool quoted = EqualsIgnoringCase(part.TransferEncoding, "quoted-printable");
    if (quoted && HasLooseEquals(part.Body)) return "a '=' that means nothing goes";
    return StructureReason(reading);
  }

  static bool HasLooseEquals(std::string_view text) {
    for (std::size_t at = text.find('='); at != text.npos; at = text.find('=', at + 1)) {
      std::string_view next = text.substr(at + 1, 2);
      bool byte = next.size() == 2 && HexValue(next[0]) >= 0 && HexValue(next[1]) >= 0;
      if (!byte && next != "\r\n") return true;
    }
    return false;
  }

  void CompareBody(Reading& reading, const char* field,
                   void (MimeMessage::*get)(std::string&, std::string_view, bool),
                   const MimePart MimeMessage::*part) {
    const json& theirs = reading.theirs[field];
    if (!BothSay(theirs) || theirs["v"].is_null()) return;
    std::string body;
    (reading.message.*get)(body, "UTF-8", false);
    std::string utf8;
    UnlabelledToUtf8(body, utf8);
    std::string ours = WithLineFeeds(utf8);
    // They count a no-break space at the end as white space.
    while (ours.ends_with("\xC2\xA0")) ours = WithLineFeeds(ours.substr(0, ours.size() - 2));
    bool same = cvctl::Sha256(ours) == theirs["v"]["sha256"].get<std::string>();
    std::string head = theirs["v"]["head"];
    std::string reason = ContentReason(reading, reading.message.*part);
    bool startGoes = !head.empty() && IsWhiteSpace(head[0]) && Plain(ours).starts_with(Plain(head));
    if (reason.empty() && startGoes) reason = kStartGoes;
    auto at =
        std::mismatch(ours.begin(), ours.end(), head.begin(), head.end()).first - ours.begin();
    auto from = static_cast<std::size_t>(std::max<std::ptrdiff_t>(at - 20, 0));
    Count(reading, field, same, reason, ours.substr(from, 60) + " | " + head.substr(from, 60));
  }

  std::map<std::string, Tally> tallies_;
};

TEST(Corpus, AgreesWithOtherReaders) {
  std::filesystem::path folder = CorpusFolder();
  if (folder.empty()) GTEST_SKIP() << "no corpus; CORVANE_CORPUS names its folder";
  Comparison comparison;
  std::size_t messages = 0;
  std::ifstream lines(folder / "oracle" / "messages.jsonl");
  for (std::string line; std::getline(lines, line);) {
    json theirs = json::parse(line);
    Reading reading{theirs, {}, false, {}};
    for (const json& trait : theirs["traits"]) reading.traits.insert(trait.get<std::string>());
    std::string path = (folder / theirs["file"].get<std::string>()).string();
    ASSERT_TRUE(reading.message.Load(ReadBytes(path), false, true, false));
    reading.message.ParseHeaders(reading.message.Headers, false);
    reading.complete = reading.message.ParseParts(false);
    comparison.Compare(reading);
    ++messages;
  }
  const auto [agreed, unexplained] = comparison.Report();
  EXPECT_GE(messages, 500U);
  EXPECT_GE(agreed, 4000U);
  EXPECT_EQ(unexplained, 0U);
}

}  // namespace
}  // namespace corvane::test
