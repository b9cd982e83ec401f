#include "SERVICES/Library/LIBMessageIndex/IndexHeaders.h"

#include <algorithm>
#include <string>
#include <vector>

#include "SERVICES/Library/LIBMessageIndex/MessageFile.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "message/Ascii.h"
#include "platform/Path.h"
#include "platform/Reports.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::string_view kUid = "X-UID: ";
constexpr std::string_view kTempFlags = "X-CVTempFlags: ";

enum class Action : std::uint8_t {
  kSet,   // the header says this, whatever it said
  kAdd,   // it says this if there was none
  kDrop,  // there is none
};

struct HeaderRule {
  std::string_view prefix;
  Action action;
  std::string value;
  bool met = false;

  [[nodiscard]] std::string Line() const { return std::string(prefix) + value + "\r\n"; }
};

enum class Failure : std::uint8_t { kNone, kInput, kOutput };

struct Outcome {
  RewriteResult result = RewriteResult::kUntouched;
  Failure failure = Failure::kNone;
};

bool BrandingEnabled() { return settings::Get(settings::kUidBrandingEnabled) != 0; }

std::string UidText(std::uint32_t brand, std::uint32_t uid) {
  return (brand == 0 ? std::string() : std::to_string(brand) + ".") + std::to_string(uid);
}

// A flag text on one header line.
std::string OneLine(std::string_view flags) {
  std::string line(flags);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
  return line;
}

// The lines before the empty line, with the rules applied.
class HeaderRewrite {
 public:
  explicit HeaderRewrite(std::vector<HeaderRule>& rules) : rules_(rules) {}

  [[nodiscard]] std::string Apply(std::string_view lines) {
    for (std::size_t at = 0; at < lines.size();) {
      const std::size_t end = std::min(FindByte(lines, '\n', at), lines.size() - 1) + 1;
      Copy(lines.substr(at, end - at));
      at = end;
    }
    for (const HeaderRule& rule : rules_) {
      if (rule.action == Action::kDrop || rule.met) continue;
      if (!result_.empty() && !result_.ends_with('\n')) result_ += "\r\n";
      result_ += rule.Line();
    }
    return std::move(result_);
  }

 private:
  void Copy(std::string_view line) {
    if (!IsBlankOrTab(line.front())) {
      const auto rule = std::find_if(rules_.begin(), rules_.end(), [&](const HeaderRule& each) {
        return StartsWithIgnoringCase(line, each.prefix);
      });
      leaveOut_ = rule != rules_.end() && Replace(*rule);
    }
    if (!leaveOut_) result_ += line;
  }

  // Writes what takes the place of a line of that header; false when the line stays.
  bool Replace(HeaderRule& rule) {
    if (rule.action == Action::kSet && !rule.met) result_ += rule.Line();
    rule.met = true;
    return rule.action != Action::kAdd;
  }

  std::vector<HeaderRule>& rules_;
  std::string result_;
  bool leaveOut_ = false;  // the header in hand
};

// Writes the message anew with other header lines. It takes the place of the very file that was
// read: a message that is gone from its name meanwhile doesn't come back.
bool Replace(MessageFile& message, const std::string& path, std::string_view headerLines) {
  auto target = platform::WholeFile::Create(path);
  if (!target || !target.Write(headerLines) ||
      !target.CopyFrom(message.File(), message.Extent().lineEnd)) {
    return false;
  }
  target.SetLastWriteTime(message.Info().lastWriteTime, message.Info().lastWriteNanoseconds);
  return target.CommitOver(message.File(), platform::kShareAll, platform::Durability::kData)
      .IsOpen();
}

Outcome Rewrite(const std::string& path, std::vector<HeaderRule> rules) {
  auto message = MessageFile::Open(path);
  if (!message) return {RewriteResult::kFailed, Failure::kInput};
  const std::string_view lines = message->Text().substr(0, message->Extent().lineEnd);
  const std::string changed = HeaderRewrite(rules).Apply(lines);
  if (changed == lines) return {};
  if (!Replace(*message, path, changed)) return {RewriteResult::kFailed, Failure::kOutput};
  return {RewriteResult::kRewritten, Failure::kNone};
}

}  // namespace

RewriteResult SetMessageUID(std::string_view folder, std::string_view file, std::uint32_t brand,
                            std::uint32_t uid, std::string_view flags) {
  if (!BrandingEnabled()) return RewriteResult::kUntouched;
  std::vector<HeaderRule> rules = {{kUid, Action::kSet, UidText(brand, uid)}};
  if (!flags.empty()) rules.push_back({kTempFlags, Action::kAdd, OneLine(flags)});
  const Outcome outcome = Rewrite(platform::JoinPath(folder, file), std::move(rules));
  if (outcome.failure == Failure::kInput) {
    platform::PrintConsole("Could not open message file for input\r\n");
  } else if (outcome.failure == Failure::kOutput) {
    platform::PrintConsole("Could not open message file for writing\r\n");
  }
  return outcome.result;
}

RewriteResult SetMessageFlags(std::string_view folder, std::string_view file,
                              std::string_view flags, bool dropUID) {
  if (!BrandingEnabled()) return RewriteResult::kUntouched;
  const std::string path = platform::JoinPath(folder, file);
  LogDebugF("Setting Message Flags for: %s\n", path.c_str());
  std::vector<HeaderRule> rules = {{kTempFlags, Action::kSet, OneLine(flags)}};
  if (dropUID) rules.push_back({kUid, Action::kDrop, {}});
  const Outcome outcome = Rewrite(path, std::move(rules));
  if (outcome.failure == Failure::kInput) {
    LogDebugF("Could not open message file for input: %s\n", path.c_str());
  } else if (outcome.failure == Failure::kOutput) {
    LogDebugF("Could not open message file for writing: %s\n", path.c_str());
  }
  return outcome.result;
}

RewriteResult StripIndexHeaders(std::string_view folder, std::string_view file) {
  if (!BrandingEnabled()) return RewriteResult::kUntouched;
  return Rewrite(platform::JoinPath(folder, file),
                 {{kUid, Action::kDrop, {}}, {kTempFlags, Action::kDrop, {}}})
      .result;
}

bool HasTempFlags(std::string_view folder, std::string_view file) {
  if (!BrandingEnabled()) return false;
  const auto message = MessageFile::Open(platform::JoinPath(folder, file));
  if (!message) return false;
  const std::string_view block = message->HeaderBlock();
  for (std::size_t at = 0; at < block.size();) {
    if (StartsWithIgnoringCase(block.substr(at), kTempFlags)) return true;
    at = std::min(FindByte(block, '\n', at), block.size() - 1) + 1;
  }
  return false;
}

}  // namespace corvane
