#include "connector/queue/CommandText.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>

#include "CLIENTS/CVMAPI/CVMSLIB/common/FileManagement.h"
#include "CLIENTS/CVMAPI/CVMSLIB/common/TimedWait.h"
#include "connector/queue/Durability.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::string_view kKnownKeys[] = {
    "DomainName=",   "Recipients=",           "Sender=",    "Server=",     "Retries=",
    "NextSendTime=", "TimeAcquired=",         "MessageID=", "ClientIP=",   "Subject=",
    "DSNFlags=",     "AuthenticationStatus=", "Campaign=",  "Priority=",   "Account=",
    "AccountName=",  "CommandType=",          "Status=",    "StatusCode=", "User=",
    "Annotations=",
};

}  // namespace

std::optional<std::string_view> LineWalker::Next() {
  if (done_ || rest_.empty()) return std::nullopt;
  const std::size_t end = rest_.find('\n');
  std::string_view line = rest_.substr(0, end);
  if (end == std::string_view::npos) {
    done_ = true;
  } else {
    rest_.remove_prefix(end + 1);
  }
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

std::optional<std::string_view> ValueOf(std::string_view line, std::string_view key) {
  if (!line.starts_with(key)) return std::nullopt;
  return line.substr(key.size());
}

std::int32_t NumberOf(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t");
  if (start == std::string_view::npos) return 0;
  text.remove_prefix(start);
  const bool negative = text.front() == '-';
  if (negative || text.front() == '+') text.remove_prefix(1);
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  std::int64_t number = 0;
  for (char digit : text) {
    if (digit < '0' || digit > '9') break;
    number = std::min<std::int64_t>(number * 10 + (digit - '0'), kMost + 1);
  }
  if (negative) return static_cast<std::int32_t>(-number);
  return static_cast<std::int32_t>(std::min(number, kMost));
}

bool TakeNumber(std::string_view line, std::string_view key, std::int32_t& field) {
  const auto value = ValueOf(line, key);
  if (value) field = NumberOf(*value);
  return value.has_value();
}

void AppendLine(std::string& text, std::string_view key, std::string_view value) {
  text.append(key);
  const std::size_t start = text.size();
  text.append(value);
  std::replace_if(
      text.begin() + static_cast<std::ptrdiff_t>(start), text.end(),
      [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
  text.append("\r\n");
}

void AppendLine(std::string& text, std::string_view key, std::int32_t value) {
  AppendLine(text, key, std::to_string(value));
}

// Once the name stands a reader may take the file away: what is tried again then is the flush
// alone.
std::int32_t WriteCommandFile(const std::string& path, const std::string& text) {
  const auto durability = DeliveryDurability(platform::Durability::kData);
  bool stands = false;
  for (int attempt = 1;; ++attempt) {
    stands = stands || platform::WriteWholeFile(path, text, true, durability);
    const bool flushed =
        stands && (!DurabilityOn() || platform::FlushDirectory(platform::ParentPath(path)));
    if (flushed) return 1;
    if (attempt == kRetries) return 0;
    TimedWait(kRetryWaitMilliseconds);
  }
}

bool ReplaceCommandFile(platform::File& held, const std::string& path, const std::string& text) {
  auto next = platform::WholeFile::Create(path);
  return next && next.Write(text) &&
         next.CommitOver(held, platform::kShareNone,
                         DeliveryDurability(platform::Durability::kDataAndName));
}

bool BeginsWithKnownKey(std::string_view line) {
  return std::any_of(std::begin(kKnownKeys), std::end(kKnownKeys),
                     [line](std::string_view key) { return line.starts_with(key); });
}

}  // namespace corvane
