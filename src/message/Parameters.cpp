#include "message/Parameters.h"

#include <algorithm>

#include "message/Ascii.h"
#include "message/EncodedWords.h"
#include "message/PercentDecode.h"
#include "message/Recode.h"

namespace corvane {
namespace {

// The position of the quote that ends a quoted string beginning at `text`, or its end.
[[nodiscard]] std::size_t ClosingQuote(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && text[at] != '"') {
    bool escape =
        text[at] == '\\' && at + 1 < text.size() && (text[at + 1] == '"' || text[at + 1] == '\\');
    at += escape ? 2 : 1;
  }
  return std::min(at, text.size());
}

// Takes "*" and "*N" off the name.
void SplitName(RawParameter& parameter) {
  std::string_view& name = parameter.name;
  if (name.ends_with('*')) {
    parameter.extended = true;
    name.remove_suffix(1);
  }
  std::size_t star = name.find('*');
  std::string_view number = star == name.npos ? std::string_view() : name.substr(star + 1);
  if (number.empty() || number.size() > 6 || !std::all_of(number.begin(), number.end(), IsDigit)) {
    return;
  }
  parameter.number = 0;
  for (char c : number) parameter.number = parameter.number * 10 + (c - '0');
  name = name.substr(0, star);
}

struct Piece {
  int number;
  bool extended;
  std::string text;
};

// Joins pieces in the order of their numbers up to the first that is missing.
[[nodiscard]] std::string JoinPieces(std::vector<Piece>& pieces, bool guessPercent) {
  std::stable_sort(pieces.begin(), pieces.end(),
                   [](const Piece& a, const Piece& b) { return a.number < b.number; });
  std::string charset;
  std::string joined;
  int expected = 0;
  for (const Piece& piece : pieces) {
    if (piece.number != expected) break;
    std::string_view text = piece.text;
    if (expected++ == 0 && piece.extended) {
      ExtendedValue value = SplitExtended(text);
      charset = value.charset;
      text = value.text;
    }
    bool percent = piece.extended || (guessPercent && text.find('%') != text.npos);
    if (percent) {
      joined += PercentDecode(text);
    } else if (guessPercent) {
      joined += DecodeEncodedWordsToUtf8(text);
    } else {
      joined += text;
    }
  }
  if (charset.empty()) return joined;
  std::string result;
  RecodeText(charset, joined, result);
  return result;
}

}  // namespace

ParameterWalk::ParameterWalk(std::string_view value) {
  std::size_t semicolon = FindByte(value, ';');
  if (semicolon != value.npos) rest_ = value.substr(semicolon + 1);
}

bool ParameterWalk::Next(RawParameter& parameter) {
  while (!rest_.empty()) {
    std::size_t end = rest_.find_first_of("=;");
    if (end == rest_.npos) break;
    parameter = {};
    parameter.name = TrimBlanks(rest_.substr(0, end));
    bool assigned = rest_[end] == '=';
    rest_.remove_prefix(end + 1);
    if (!assigned) continue;
    parameter.text = TakeValue(parameter.quoted);
    if (parameter.name.empty() || parameter.text.empty()) continue;
    SplitName(parameter);
    return true;
  }
  rest_ = {};
  return false;
}

std::string_view ParameterWalk::TakeValue(bool& quoted) {
  while (!rest_.empty() && IsBlankOrTab(rest_.front())) rest_.remove_prefix(1);
  std::size_t end = 0;
  std::string_view value;
  quoted = rest_.starts_with('"');
  if (quoted) {
    rest_.remove_prefix(1);
    end = ClosingQuote(rest_);
    value = rest_.substr(0, end);
    rest_.remove_prefix(end);
    end = FindByte(rest_, ';');
  } else {
    end = FindByte(rest_, ';');
    value = TrimBlanks(rest_.substr(0, end));
  }
  rest_.remove_prefix(end == rest_.npos ? rest_.size() : end + 1);
  return value;
}

std::string Unquote(const RawParameter& parameter) {
  std::string result;
  result.reserve(parameter.text.size());
  for (std::size_t i = 0; i < parameter.text.size(); ++i) {
    char next = i + 1 < parameter.text.size() ? parameter.text[i + 1] : '\0';
    bool escape = parameter.quoted && parameter.text[i] == '\\' && (next == '"' || next == '\\');
    result.push_back(parameter.text[escape ? ++i : i]);
  }
  return result;
}

ExtendedValue SplitExtended(std::string_view value) {
  std::size_t first = FindByte(value, '\'');
  std::size_t second = first == value.npos ? first : FindByte(value, '\'', first + 1);
  if (second == value.npos) return {{}, {}, value};
  return {value.substr(0, first), value.substr(first + 1, second - first - 1),
          value.substr(second + 1)};
}

std::string_view FirstField(std::string_view value) {
  return TrimBlanks(value.substr(0, value.find(';')));
}

std::optional<std::string> FindParameter(std::string_view value, std::string_view name) {
  RawParameter parameter;
  for (ParameterWalk walk(value); walk.Next(parameter);) {
    bool plain = !parameter.extended && parameter.number < 0;
    if (plain && EqualsIgnoringCase(parameter.name, name)) return Unquote(parameter);
  }
  return std::nullopt;
}

std::optional<std::string> FindExtendedParameter(std::string_view value, std::string_view name,
                                                 bool guessPercent) {
  if (FindByte(value, '*') == value.npos) return std::nullopt;
  std::vector<Piece> pieces;
  RawParameter parameter;
  for (ParameterWalk walk(value); walk.Next(parameter) && pieces.size() < kMaximumPieces;) {
    bool plain = !parameter.extended && parameter.number < 0;
    if (plain || !EqualsIgnoringCase(parameter.name, name)) continue;
    pieces.push_back({std::max(parameter.number, 0), parameter.extended, Unquote(parameter)});
  }
  if (pieces.empty()) return std::nullopt;
  return JoinPieces(pieces, guessPercent);
}

}  // namespace corvane
