#include "cvctl/MessageView.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

#include "cvctl/Command.h"
#include "cvctl/Sha256.h"
#include "message/CodePages.h"
#include "message/EncodedWords.h"
#include "message/Html.h"
#include "message/MessageDate.h"
#include "message/Unicode.h"

namespace corvane::cvctl {
namespace {

// The first header of that name; words that only a blank keeps apart come together.
std::string JoinedValue(const HeaderList& headers, std::string_view name) {
  std::string raw = headers.FirstRawValue(name);
  raw = JoinEncodedWords(raw);
  return DecodeEncodedWordsToUtf8(raw);
}

std::string Date(std::string_view text) {
  std::string result;
  ParseMessageDate(text, result);
  return result;
}

void Print(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

std::string Quoted(std::string_view text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// The length of the next piece of UTF-8 text, which ends between two characters.
std::size_t PieceLength(std::string_view text) {
  constexpr std::size_t kPiece = 65536;
  std::size_t length = std::min(text.size(), kPiece);
  auto continues = [&] { return (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80; };
  while (length < text.size() && continues() && length > kPiece - 4) --length;
  return length;
}

// A long text as a JSON string, piece by piece.
void PrintQuoted(std::string_view text) {
  Print("\"");
  while (!text.empty()) {
    std::size_t length = PieceLength(text);
    std::string quoted = Quoted(text.substr(0, length));
    Print(std::string_view(quoted).substr(1, quoted.size() - 2));
    text.remove_prefix(length);
  }
  Print("\"");
}

// Writes the members of one JSON object.
class ObjectWriter {
 public:
  explicit ObjectWriter(std::string_view opening) { Print(opening); }
  void Member(std::string_view name, std::string_view text) {
    Name(name);
    PrintQuoted(text);
  }
  void Member(std::string_view name, std::size_t number) {
    Name(name);
    Print(std::to_string(number));
  }

 private:
  void Name(std::string_view name) {
    Print(std::exchange(separator_, ", "));
    Print(Quoted(name));
    Print(": ");
  }

  std::string_view separator_ = "";
};

void PrintHeaders(const HeaderList& headers) {
  for (std::size_t i = 0; i < headers.Size(); ++i) {
    ObjectWriter object(i == 0 ? "\n    {" : ",\n    {");
    object.Member("name", headers.NameAt(i));
    object.Member("value", headers.ValueAt(i));
    Print("}");
  }
}

void PrintPart(const MimePart& part) {
  ObjectWriter object("\n    {");
  object.Member("number", part.PartNumber);
  object.Member("contentType", part.ContentType);
  object.Member("charset", part.Charset);
  object.Member("transferEncoding", part.TransferEncoding);
  object.Member("disposition", part.Disposition);
  object.Member("filename", part.Filename);
  object.Member("name", part.Name);
  object.Member("displayName", part.DisplayName);
  object.Member("contentId", part.ContentIdentifier);
  object.Member("boundary", part.EnclosingBoundary);
  object.Member("originalSize", part.OriginalSize);
  Text body = DecodedBody(part);
  object.Member("decodedSize", body.size());
  object.Member("decodedSha256", Sha256(body));
  Print("}");
}

// A body of which the part doesn't say the charset, or says one that nobody knows, as UTF-8.
std::string AsUtf8(std::string body) {
  if (IsValidUtf8(body)) return body;
  std::string result;
  UnlabelledToUtf8(body, result);
  return result;
}

std::string TextBody(MimeMessage& message) {
  std::string body;
  message.GetTextBody(body, "UTF-8", false);
  return AsUtf8(std::move(body));
}

std::string HtmlBody(MimeMessage& message) {
  std::string body;
  message.GetHtmlBody(body, "UTF-8", false);
  return AsUtf8(std::move(body));
}

// The text body, or the HTML body turned into text.
std::string BodyForReading(MimeMessage& message) {
  std::string body = TextBody(message);
  if (!body.empty()) return body;
  body = HtmlBody(message);
  StripHtml(body);
  std::string result;
  MixedToUtf8(body, result);
  return result;
}

// Prints UTF-8 text with LF line ends. Control characters, with which a message could steer the
// terminal, become '?'.
void PrintReadable(std::string_view text) {
  constexpr std::size_t kPiece = 65536;
  std::string piece;
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto byte = static_cast<unsigned char>(text[i]);
    auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    if (byte == '\r' && next == '\n') continue;
    bool upperControl = byte == 0xC2 && next >= 0x80 && next < 0xA0;
    bool control = (byte < ' ' && byte != '\t' && byte != '\n') || byte == 0x7F || upperControl;
    piece.push_back(control ? '?' : text[i]);
    if (upperControl) ++i;
    if (piece.size() < kPiece) continue;
    Print(piece);
    piece.clear();
  }
  Print(piece);
}

// "text/plain, utf-8, "name", 12 bytes, attachment".
std::string DescribePart(const MimePart& part) {
  std::string line = part.ContentType.String();
  if (part.IsMultipart()) return line;
  if (!part.Charset.empty()) line += ", " + part.Charset.String();
  if (!part.DisplayName.empty()) line += ", \"" + part.DisplayName.String() + "\"";
  line += ", " + std::to_string(DecodedBody(part).size()) + " bytes";
  if (!part.Disposition.empty()) line += ", " + part.Disposition.String();
  return line;
}

void PrintTree(MimeMessage& message) {
  bool complete = message.ParseParts(true);
  std::size_t depth = 1;
  Print("Parts:\n");
  for (const MimePart& part : message.PartList) {
    if (part.Kind == PartKind::kClosing) --depth;
    if (part.Kind != PartKind::kOrdinary) continue;
    PrintReadable(std::string(depth * 2, ' ') + AsUtf8(DescribePart(part)) + "\n");
    if (part.IsMultipart()) ++depth;
  }
  if (!complete) Print("  (the structure is broken from here on)\n");
}

}  // namespace

MessageSummary Summarise(const HeaderList& headers) {
  MessageSummary summary;
  summary.subject = JoinedValue(headers, "Subject");
  summary.from = JoinedValue(headers, "From");
  summary.to = JoinedValue(headers, "To");
  summary.cc = JoinedValue(headers, "Cc");
  summary.messageId = headers.FirstValue("Message-ID");
  summary.date = Date(headers.FirstValue("Date"));
  std::string received = headers.FirstValue("Received");
  std::size_t stamp = received.find("; ");
  if (stamp != received.npos) summary.received = Date(std::string_view(received).substr(stamp + 2));
  if (summary.received.empty()) summary.received = summary.date;
  return summary;
}

void PrintMessageJson(MimeMessage& message) {
  message.ParseHeaders(message.Headers, false);
  MessageSummary summary = Summarise(message.Headers);
  Print("{\n  \"headers\": [");
  PrintHeaders(message.Headers);
  Print("],\n  ");
  ObjectWriter object("");
  object.Member("subject", summary.subject);
  object.Member("from", summary.from);
  object.Member("to", summary.to);
  object.Member("cc", summary.cc);
  object.Member("messageId", summary.messageId);
  object.Member("date", summary.date);
  object.Member("received", summary.received);
  bool complete = message.ParseParts(false);
  Print(",\n  \"parts\": [");
  for (std::size_t i = 0; i < message.PartList.size(); ++i) {
    if (i > 0) Print(",");
    PrintPart(message.PartList[i]);
  }
  Print("],\n  \"structureComplete\": ");
  Print(complete ? "true" : "false");
  Print(",\n  \"text\": ");
  PrintQuoted(TextBody(message));
  Print(",\n  \"html\": ");
  PrintQuoted(HtmlBody(message));
  Print("\n}\n");
}

void PrintMessagePlain(MimeMessage& message) {
  message.ParseHeaders(message.Headers, false);
  MessageSummary summary = Summarise(message.Headers);
  const std::pair<const char*, const std::string&> kLines[] = {{"From", summary.from},
                                                               {"To", summary.to},
                                                               {"Cc", summary.cc},
                                                               {"Date", summary.date},
                                                               {"Subject", summary.subject}};
  for (const auto& [name, value] : kLines) {
    if (!value.empty()) PrintReadable(std::string(name) + ": " + value + "\n");
  }
  PrintTree(message);
  std::string body = BodyForReading(message);
  if (body.empty()) return;
  Print("\n");
  PrintReadable(body);
  if (!body.ends_with('\n')) Print("\n");
}

}  // namespace corvane::cvctl
