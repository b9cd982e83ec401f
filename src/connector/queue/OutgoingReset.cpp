#include "connector/queue/OutgoingReset.h"

#include <optional>
#include <string>
#include <string_view>

#include "CLIENTS/CVMAPI/CVMSLIB/common/FileManagement.h"
#include "CLIENTS/CVMAPI/CVMSLIB/common/TimedWait.h"
#include "connector/queue/CommandText.h"
#include "connector/queue/Durability.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/Path.h"
#include "platform/Reports.h"

namespace corvane {
namespace {

struct ResetText {
  std::string text;
  bool hasStatus = false;
  bool qualifies = false;
};

// The lines of a reset file, and what was seen on the way.
class ResetBuilder {
 public:
  ResetBuilder(std::string_view serverName, std::uint32_t resetMinutes)
      : serverName_(serverName), resetSeconds_(std::int64_t{resetMinutes} * 60) {}

  void Add(std::string_view line) {
    if (line.starts_with("Status=")) {
      hasStatus_ = true;
      // The state is expected to be the last line and has no line end then; what follows all the
      // same begins a line of its own.
      AddText("Status=Unsent");
    } else if (const auto acquired = ValueOf(line, "TimeAcquired=")) {
      const std::int32_t old = NumberOf(*acquired);
      aged_ = aged_ || (old >= 1 && now_ - old >= resetSeconds_);
      AddLine("TimeAcquired=" + std::to_string(now_));
    } else if (line.starts_with("NextSendTime=")) {
      AddLine("NextSendTime=" + std::to_string(now_));
    } else if (line.starts_with("Retries=")) {
      AddLine("Retries=0");
    } else if (const auto server = ValueOf(line, "Server=")) {
      hasServer_ = true;
      ownServer_ = ownServer_ || *server == serverName_;
      AddLine("Server=");
    } else if (!line.empty()) {
      AddLine(line);
    }
  }

  ResetText Finish() { return {std::move(text_), hasStatus_, aged_ || ownServer_ || !hasServer_}; }

 private:
  void AddText(std::string_view text) {
    if (!text_.empty() && text_.back() != '\n') text_ += "\r\n";
    text_ += text;
  }
  void AddLine(std::string_view line) {
    AddText(line);
    text_ += "\r\n";
  }

  std::string_view serverName_;
  std::int64_t resetSeconds_;
  std::int64_t now_ = platform::NowSeconds();
  std::string text_;
  bool hasStatus_ = false;
  bool hasServer_ = false;
  bool ownServer_ = false;
  bool aged_ = false;
};

std::optional<ResetText> ReadReset(platform::File& file, std::string_view serverName,
                                   std::uint32_t resetMinutes) {
  const auto text = file.ReadAll(kMaximumCommandFileBytes);
  if (!text) {
    platform::PrintConsole("Error reading command file\r\n");
    return std::nullopt;
  }
  ResetBuilder builder(serverName, resetMinutes);
  LineWalker lines(*text);
  while (const auto line = lines.Next()) builder.Add(*line);
  return builder.Finish();
}

platform::File OpenToRewrite(const std::string& path) {
  for (int attempt = 1;; ++attempt) {
    auto file = platform::File::Open(path, platform::Access::kReadWrite, platform::kShareNone,
                                     platform::Disposition::kOpenExisting);
    const bool gone = !file && platform::LastError() == platform::kErrorFileNotFound;
    if (file || gone || attempt == kRetries) return file;
    TimedWait(kRetryWaitMilliseconds);
  }
}

// Rewrites the file from what it holds now: between the first look and the claim it may have
// changed hands.
bool Rewrite(const std::string& path, std::string_view serverName, std::uint32_t resetMinutes) {
  auto held = OpenToRewrite(path);
  if (!held) return platform::LastError() == platform::kErrorFileNotFound;
  const auto reset = ReadReset(held, serverName, resetMinutes);
  return !reset || !reset->qualifies || ReplaceCommandFile(held, path, reset->text);
}

}  // namespace

std::int32_t ResetOutgoingCommandFile(const char* directory, const char* fileName,
                                      const char* serverName, std::uint32_t resetMinutes) {
  const std::string path = platform::JoinPath(directory, fileName);
  auto file = platform::File::Open(path, platform::Access::kRead, platform::kShareAll,
                                   platform::Disposition::kOpenExisting);
  if (!file) return 0;
  const auto reset = ReadReset(file, serverName, resetMinutes);
  file.Close();
  if (!reset) return 0;
  if (reset->qualifies && !Rewrite(path, serverName, resetMinutes)) {
    platform::WriteDebugChannel(
        "Module=SetMessageStatus could not update Message Command File. (write error!).\n");
  }
  return reset->hasStatus ? 1 : 0;
}

bool ForceOutgoingReset(const char* directory, const char* fileName) {
  const std::string path = platform::JoinPath(directory, fileName);
  auto held = platform::File::Open(path, platform::Access::kReadWrite, platform::kShareNone,
                                   platform::Disposition::kOpenExisting);
  if (!held) return false;
  const auto reset = ReadReset(held, "", 0);
  if (reset && !reset->hasStatus) {
    platform::SetLastError(platform::kErrorFileCorrupt);  // no worker will ever take it
    return false;
  }
  return reset && ReplaceCommandFile(held, path, reset->text);
}

}  // namespace corvane
