#include "SERVICES/Library/LIBMessageIndex/ParseMessage.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "connector/settings/Settings.h"
#include "message/Ascii.h"
#include "message/MessageDate.h"

namespace corvane {

std::int32_t ParseMessage(std::string_view path, MessageHeaders& headers, bool clearFlags,
                          bool branding, std::int32_t attachmentMode, bool ignoreRead) {
  if (settings::Get(settings::kNewIndexing) != 0) return ParseMessageMime(path, headers);
  return ParseMessageLines(path, headers, clearFlags, branding, attachmentMode, ignoreRead);
}

std::string NormalisedDate(std::string_view date) {
  std::string result;
  return ParseMessageDate(date, result) ? result : std::string();
}

std::string ReceivedDate(std::string_view value) {
  constexpr std::string_view kSeparator = "; ";
  const std::size_t at = value.find(kSeparator);
  return at == value.npos ? std::string() : NormalisedDate(value.substr(at + kSeparator.size()));
}

std::int32_t ReadImportance(std::string_view value) {
  value = TrimBlanks(value);
  std::int32_t importance = 0;
  const auto read = std::from_chars(value.data(), value.data() + value.size(), importance);
  return read.ec == std::errc() && importance > 0 ? importance : kDefaultImportance;
}

std::string WithoutNul(std::string text) {
  std::replace(text.begin(), text.end(), '\0', ' ');
  return text;
}

}  // namespace corvane
