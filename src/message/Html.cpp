#include "message/Html.h"

#include "message/Ascii.h"

namespace corvane {
namespace {

struct Entity {
  std::string_view name;
  std::string_view text;
};
// In this order, each over the whole text: what one leaves can be an entity for the next.
constexpr Entity kEntities[] = {
    {"&nbsp;", " "},   {"&zwnj;", ""},      {"&reg;", "\xAE"},  {"&euro;", "\x80"},
    {"&yen;", "\xA5"}, {"&pound;", "\xA3"}, {"&cent;", "\xA2"}, {"&amp;", "&"},
    {"&lt;", "<"},     {"&gt;", ">"},
};

void CutToBody(std::string& text) {
  std::size_t body = FindIgnoringCase(text, "<body");
  if (body == text.npos) return;
  std::size_t start = FindByte(text, '>', body);
  if (start == text.npos) return;
  std::size_t end = FindIgnoringCase(text, "</body>", start + 1);
  if (end != text.npos) text.resize(end);
  text.erase(0, start + 1);
}

void ReplaceEntity(std::string& text, const Entity& entity) {
  std::size_t at = FindIgnoringCase(text, entity.name);
  if (at == text.npos) return;
  std::string result;
  result.reserve(text.size());
  std::size_t copied = 0;
  for (; at != text.npos; at = FindIgnoringCase(text, entity.name, copied)) {
    result.append(text, copied, at - copied).append(entity.text);
    copied = at + entity.name.size();
  }
  result.append(text, copied);
  text = std::move(result);
}

void DropLineEnd(std::string& text) {
  if (!text.ends_with('\n')) return;
  text.pop_back();
  if (text.ends_with('\r')) text.pop_back();
}

// Removes a line end that stands directly before a tag that begins with <p or <br.
void DropLineEndsBeforeBreaks(std::string& text) {
  std::string result;
  result.reserve(text.size());
  std::size_t copied = 0;
  for (std::size_t at = FindByte(text, '<'); at != text.npos; at = FindByte(text, '<', at + 1)) {
    std::string_view tag = std::string_view(text).substr(at, 3);
    result.append(text, copied, at - copied);
    copied = at;
    bool breaks = StartsWithIgnoringCase(tag, "<p") || StartsWithIgnoringCase(tag, "<br");
    if (breaks) DropLineEnd(result);
  }
  result.append(text, copied);
  text = std::move(result);
}

// `tag` runs from its '<' up to and with its '>'.
[[nodiscard]] bool IsLineBreak(std::string_view tag) {
  return EqualsIgnoringCase(tag, "<p>") || StartsWithIgnoringCase(tag, "<br") ||
         StartsWithIgnoringCase(tag, "<p ");
}

void DropTags(std::string& text, std::string_view lineEnd) {
  std::string result;
  result.reserve(text.size());
  std::size_t copied = 0;
  for (std::size_t at = FindByte(text, '<'); at != text.npos; at = FindByte(text, '<', copied)) {
    result.append(text, copied, at - copied);
    std::size_t end = FindByte(text, '>', at);
    if (end == text.npos) {
      for (char c : std::string_view(text).substr(at)) {
        if (c != '<') result.push_back(c);
      }
      copied = text.size();
      break;
    }
    copied = end + 1;
    if (IsLineBreak(std::string_view(text).substr(at, copied - at))) result.append(lineEnd);
  }
  result.append(text, copied);
  text = std::move(result);
}

}  // namespace

void StripHtml(std::string& text, std::string_view lineEnd) {
  CutToBody(text);
  for (const Entity& entity : kEntities) ReplaceEntity(text, entity);
  DropLineEndsBeforeBreaks(text);
  DropTags(text, lineEnd);
}

void EscapeText(std::string& text) {
  std::string result;
  result.reserve(text.size() + text.size() / 8);
  for (std::size_t at = 0; at < text.size(); ++at) {
    char c = text[at];
    if (c == '<') {
      result += "&lt;";
    } else if (c == '>') {
      result += "&gt;";
    } else if (c == '\n') {
      result += "<br>";
    } else if (c != '\r' || at + 1 == text.size() || text[at + 1] != '\n') {
      result.push_back(c);
    }
  }
  text = std::move(result);
}

}  // namespace corvane
