#include "message/HeaderText.h"

#include "message/Ascii.h"

namespace corvane {
namespace {

constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kEmptyLine = "\r\n\r\n";

// A header in a text: `begin` at its name, `value` behind the colon, `end` behind its last line end
// (or at the end of the text).
struct Place {
  std::size_t begin = std::string_view::npos;
  std::size_t value = 0;
  std::size_t end = 0;
  [[nodiscard]] bool Found() const { return begin != std::string_view::npos; }
};

[[nodiscard]] std::size_t FindLineEnd(std::string_view text, std::string_view lineEnd,
                                      std::size_t from) {
  std::size_t at = FindByte(text, '\n', from);
  if (lineEnd.size() == 1) return at;
  while (at != text.npos && (at == from || text[at - 1] != '\r')) at = FindByte(text, '\n', at + 1);
  return at == text.npos ? at : at - 1;
}

// The start of the line behind the one at `from`; the end of the text when that is the last.
[[nodiscard]] std::size_t NextLine(std::string_view text, std::string_view lineEnd,
                                   std::size_t from) {
  std::size_t at = FindLineEnd(text, lineEnd, from);
  return at == text.npos ? text.size() : at + lineEnd.size();
}

[[nodiscard]] bool IsHeaderAt(std::string_view text, std::size_t at, std::string_view name) {
  std::string_view start = text.substr(at, name.size() + 1);
  return start.size() == name.size() + 1 && start.back() == ':' &&
         EqualsIgnoringCase(start.substr(0, name.size()), name);
}

[[nodiscard]] Place FindPlace(std::string_view text, std::string_view name,
                              std::string_view lineEnd) {
  Place place;
  for (std::size_t at = 0; at < text.size(); at = NextLine(text, lineEnd, at)) {
    if (!IsHeaderAt(text, at, name)) continue;
    place.begin = at;
    place.value = at + name.size() + 1;
    place.end = NextLine(text, lineEnd, place.value);
    while (place.end < text.size() && IsBlankOrTab(text[place.end])) {
      place.end = NextLine(text, lineEnd, place.end);
    }
    break;
  }
  return place;
}

[[nodiscard]] std::string_view WithoutColon(std::string_view name) {
  if (name.ends_with(':')) name.remove_suffix(1);
  return name;
}

// The region in which a header is looked for: with its last line end, without the empty line.
[[nodiscard]] std::string_view HeaderRegion(std::string_view text, std::string_view lineEnd) {
  std::string_view empty = lineEnd.size() == 2 ? kEmptyLine : "\n\n";
  std::size_t end = text.find(empty);
  return end == text.npos ? text : text.substr(0, end + lineEnd.size());
}

// Behind the last line end of the region that no continuation line follows.
[[nodiscard]] std::size_t EndOfLastLine(std::string_view region) {
  for (std::size_t end = region.size(); end > 0;) {
    std::size_t at = region.rfind(kCrLf, end - 1);
    if (at == region.npos) return 0;
    std::size_t behind = at + kCrLf.size();
    if (behind == region.size() || !IsBlankOrTab(region[behind])) return behind;
    end = at;
  }
  return 0;
}

}  // namespace

std::string_view FindRawHeader(std::string_view text, std::string_view name,
                               std::string_view lineEnd) {
  Place place = FindPlace(text, name, lineEnd);
  if (!place.Found()) return {};
  std::string_view value = text.substr(place.value, place.end - place.value);
  if (value.ends_with(lineEnd)) value.remove_suffix(lineEnd.size());
  while (!value.empty() && IsBlankOrTab(value.front())) value.remove_prefix(1);
  return value;
}

bool FindHeaderInText(std::string_view text, std::string_view name, std::string& result,
                      std::string_view lineEnd, bool stopAtSemicolon) {
  std::string_view value = FindRawHeader(text, name, lineEnd);
  result.clear();
  if (value.data() == nullptr) return false;
  if (stopAtSemicolon) {
    result.assign(value.substr(0, std::min(value.find(';'), value.find(lineEnd))));
    return true;
  }
  while (true) {
    std::size_t end = FindLineEnd(value, lineEnd, 0);
    result.append(value.substr(0, end));
    if (end == value.npos) return true;
    value.remove_prefix(end + lineEnd.size());
    while (!value.empty() && IsBlankOrTab(value.front())) value.remove_prefix(1);
  }
}

void AddHeaderToText(std::string& text, std::string_view name, std::string_view value,
                     bool inHeaderOnly) {
  std::string line = std::string(name) + " " + std::string(value) + std::string(kCrLf);
  std::string_view region = inHeaderOnly ? HeaderRegion(text, kCrLf) : std::string_view(text);
  Place place = FindPlace(region, WithoutColon(name), kCrLf);
  if (place.Found()) {
    text.replace(place.begin, place.end - place.begin, line);
  } else {
    text.insert(inHeaderOnly ? EndOfLastLine(region) : 0, line);
  }
}

bool RemoveHeaderFromText(std::string_view text, std::string_view name, std::string& result,
                          bool wholeText) {
  std::string_view lineEnd = text.find(kEmptyLine) == text.npos ? "\n" : kCrLf;
  std::string_view region = wholeText ? text : HeaderRegion(text, lineEnd);
  Place place = FindPlace(region, WithoutColon(name), lineEnd);
  result.assign(text);
  if (!place.Found()) return false;
  result.erase(place.begin, place.end - place.begin);
  return true;
}

}  // namespace corvane
