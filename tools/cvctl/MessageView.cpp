#include "cvctl/MessageView.h"

#include <cstdio>
#include <string_view>
#include <utility>

#include "cvctl/Command.h"
#include "cvctl/Sha256.h"
#include "message/CodePages.h"
#include "message/EncodedWords.h"
#include "message/MessageDate.h"

namespace corvane::cvctl {
namespace {

// The first header of that name; words that only a blank keeps apart come together.
std::string JoinedValue(const HeaderList& headers, std::string_view name) {
  std::optional<MessageHeader> header = headers.FindFirst(name);
  if (!header) return {};
  std::string raw;
  for (char16_t unit : header->Value) raw.push_back(static_cast<char>(unit));
  return DecodeEncodedWordsToUtf8(JoinEncodedWords(raw));
}

std::string Date(std::string_view text) {
  std::string result;
  // Read like the date of a header line, which ends with a blank.
  ParseMessageDate(text, result);
  return result;
}

void Print(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

std::string Quoted(std::string_view text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// Writes the members of one JSON object.
class ObjectWriter {
 public:
  explicit ObjectWriter(std::string_view opening) { Print(opening); }
  void Member(std::string_view name, std::string_view text) { Raw(name, Quoted(text)); }
  void Member(std::string_view name, std::size_t number) { Raw(name, std::to_string(number)); }
  void Raw(std::string_view name, std::string_view json) {
    Print(std::exchange(separator_, ", "));
    Print(Quoted(name));
    Print(": ");
    Print(json);
  }

 private:
  std::string_view separator_ = "";
};

void PrintHeaders(const HeaderList& headers) {
  for (std::size_t i = 0; i < headers.Size(); ++i) {
    MessageHeader header = headers.At(i);
    ObjectWriter object(i == 0 ? "\n    {" : ",\n    {");
    object.Member("name", header.Name);
    object.Member("value", HeaderList::GetValue(header));
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

void PrintPartLine(const MimePart& part, std::size_t depth) {
  std::string line(depth * 2, ' ');
  line += part.ContentType;
  if (!part.IsMultipart()) {
    if (!part.Charset.empty()) line += ", " + part.Charset.String();
    if (!part.DisplayName.empty()) line += ", \"" + part.DisplayName.String() + "\"";
    line += ", " + std::to_string(DecodedBody(part).size()) + " bytes";
    if (!part.Disposition.empty()) line += ", " + part.Disposition.String();
  }
  Print(line + "\n");
}

void PrintTree(MimeMessage& message) {
  bool complete = message.ParseParts(true);
  std::size_t depth = 1;
  Print("Parts:\n");
  for (const MimePart& part : message.PartList) {
    if (part.Kind == PartKind::kClosing) --depth;
    if (part.Kind != PartKind::kOrdinary) continue;
    PrintPartLine(part, depth);
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
  Print(Quoted(TextBody(message)));
  Print(",\n  \"html\": ");
  Print(Quoted(HtmlBody(message)));
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
    if (!value.empty()) Print(std::string(name) + ": " + value + "\n");
  }
  PrintTree(message);
  std::string body;
  message.GetTextBody(body, "UTF-8", true);
  if (!body.empty()) Print("\n" + AsUtf8(std::move(body)) + "\n");
}

}  // namespace corvane::cvctl
