#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"

#include <cstring>

namespace corvane {
namespace {

constexpr char Fold(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool EqualFolded(const char* a, const char* b, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) {
    if (Fold(a[i]) != Fold(b[i])) return false;
  }
  return true;
}

bool IsLetter(char c) { return Fold(c) >= 'a' && Fold(c) <= 'z'; }

// The next separator at or after `from` that no escape character stands before.
std::size_t NextSeparator(std::string_view text, std::string_view separator, std::size_t from,
                          char escape) {
  std::size_t at = PositionNoCase(text, separator, from);
  while (escape != 0 && at != std::string_view::npos && at > 0 && text[at - 1] == escape) {
    at = PositionNoCase(text, separator, at + 1);
  }
  return at;
}

}  // namespace

std::size_t PositionNoCase(std::string_view text, std::string_view pattern, std::size_t from) {
  if (pattern.empty() || pattern.size() > text.size()) return std::string_view::npos;
  const char first = pattern.front();
  if (!IsLetter(first) && pattern.size() == 1) return text.find(first, from);
  for (std::size_t at = from; at + pattern.size() <= text.size(); ++at) {
    if (EqualFolded(text.data() + at, pattern.data(), pattern.size())) return at;
  }
  return std::string_view::npos;
}

const char* FindNoCase(const char* text, const char* pattern, std::ptrdiff_t textLength,
                       std::ptrdiff_t patternLength) {
  const auto view = [](const char* begin, std::ptrdiff_t length) {
    return std::string_view(begin,
                            length < 0 ? std::strlen(begin) : static_cast<std::size_t>(length));
  };
  const std::size_t at = PositionNoCase(view(text, textLength), view(pattern, patternLength));
  return at != std::string_view::npos ? text + at : nullptr;
}

std::int32_t CountTokens(std::string_view text, std::string_view separator) {
  if (text.empty()) return 0;
  std::int32_t count = 1;
  std::size_t at = PositionNoCase(text, separator, 1);
  while (at != std::string_view::npos && count < kMaximumTokens) {
    ++count;
    at = PositionNoCase(text, separator, at + separator.size());
  }
  return count;
}

bool FindToken(std::string_view text, std::string_view separator, std::int32_t number,
               std::string_view* token, char escape) {
  if (number < 1) return false;
  std::size_t begin = 0;
  std::size_t end = NextSeparator(text, separator, 0, escape);
  if (end == std::string_view::npos && number > 1) return false;
  for (std::int32_t passed = 1; passed < number && end != std::string_view::npos; ++passed) {
    begin = end + separator.size();
    end = NextSeparator(text, separator, begin, escape);
  }
  *token = text.substr(begin, end == std::string_view::npos ? end : end - begin);
  return true;
}

std::int32_t GetToken(std::string_view text, std::string_view separator, std::int32_t number,
                      char* buffer, std::size_t size, char escape) {
  std::string_view token;
  if (size == 0 || !FindToken(text, separator, number, &token, escape)) return 0;
  const bool fits = token.size() < size;
  if (!fits) token = {};
  token.copy(buffer, token.size());
  buffer[token.size()] = '\0';
  return fits ? 1 : 0;
}

}  // namespace corvane
