#include "connector/queue/OutgoingClaim.h"

#include <optional>
#include <utility>

#include "connector/queue/CommandText.h"
#include "connector/queue/Durability.h"
#include "connector/settings/Settings.h"
#include "platform/Clock.h"
#include "platform/Path.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::string_view kStatusKey = "Status=";
constexpr std::string_view kServerKey = "Server=";
constexpr std::string_view kNextSendTimeKey = "NextSendTime=";
constexpr std::string_view kUnsent = "Unsent";
constexpr std::string_view kDelivering = "Delivering";
constexpr std::size_t kStateLimit = 63;

// What a command file says of its state, and where its Server= line stands.
struct CommandState {
  std::int32_t nextSendTime = 0;
  std::string_view state;
  std::optional<std::pair<std::size_t, std::size_t>> serverLine;  // position, length
};

// Walks the lines at CR LF until a time and a state are known.
CommandState ReadState(std::string_view text) {
  CommandState found;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t end = text.find("\r\n", at);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(at, end - at);
    if (const auto state = ValueOf(line, kStatusKey)) {
      found.state = state->substr(0, kStateLimit);
    } else if (line.starts_with(kServerKey)) {
      found.serverLine = {at, line.size()};
    } else if (const std::size_t key = line.find(kNextSendTimeKey);
               key == 0 || (key != std::string_view::npos && !BeginsWithKnownKey(line))) {
      // A subject may hold the words of a key: inside another key's line they mean nothing.
      found.nextSendTime = NumberOf(line.substr(key + kNextSendTimeKey.size()));
    }
    if (found.nextSendTime >= 1 && !found.state.empty()) break;
    at = end + 2;
  }
  return found;
}

bool BeginsWithNoCase(std::string_view text, std::string_view word) {
  return text.size() >= word.size() && platform::EqualsNoCase(text.substr(0, word.size()), word);
}

// Position of the first CR LF `Status=Unsent` in any case, or npos.
std::size_t FindUnsentLine(std::string_view text) {
  constexpr std::string_view kLine = "\r\nStatus=Unsent";
  for (std::size_t at = text.find("\r\n"); at != std::string_view::npos;
       at = text.find("\r\n", at + 2)) {
    if (BeginsWithNoCase(text.substr(at), kLine)) return at;
  }
  return std::string_view::npos;
}

// The text with its new state. Without a CR LF before the Unsent line (it stands first) the text
// stays as it is.
std::string ClaimedText(std::string text, std::string_view statusWord,
                        std::string_view serverName) {
  const auto serverLine = ReadState(text).serverLine;
  const std::size_t status = FindUnsentLine(text);
  if (status == std::string_view::npos) return text;
  const auto putStatus = [&] {
    text.replace(status + 2, kStatusKey.size() + kUnsent.size(),
                 std::string(kStatusKey).append(statusWord));
  };
  const auto putServer = [&] {
    if (!serverLine) return;
    text.replace(serverLine->first, serverLine->second, std::string(kServerKey).append(serverName));
  };
  // The later one first, so that the earlier position still holds.
  if (serverLine && serverLine->first > status) {
    putServer();
    putStatus();
  } else {
    putStatus();
    putServer();
  }
  return text;
}

// Whether a claim may be written over the old text: one disk sector holds either text, the new one
// is not shorter, and the state is the last line.
bool FitsInPlace(std::string_view before, std::string_view after, std::string_view statusWord) {
  constexpr std::size_t kSectorBytes = 512;
  const std::string lastLine = std::string(kStatusKey).append(statusWord);
  std::string_view text = after;
  if (text.ends_with("\r\n")) text.remove_suffix(2);
  return after.size() >= before.size() && after.size() <= kSectorBytes && text.ends_with(lastLine);
}

bool WriteAt(platform::File& file, std::size_t at, std::string_view text) {
  return file.Seek(at) && file.Write(text) && (!DurabilityOn() || file.Flush());
}

// A power cut can leave the new text cut at the old length. Where it would cut more than the end of
// the state, which every reader and the reset take for a message in delivery, the file is made
// longer by blank lines first.
bool WriteInPlace(platform::File& file, std::string_view before, std::string_view text) {
  const std::size_t state = text.rfind(kStatusKey) + kStatusKey.size();
  if (DurabilityOn() && state > before.size()) {
    std::string blank;
    while (before.size() + blank.size() < text.size()) blank += "\r\n";
    blank.resize(text.size() - before.size());
    if (!WriteAt(file, before.size(), blank)) return false;
  }
  return WriteAt(file, 0, text) && file.RelaxShare(platform::kShareReadRemove);
}

bool HasExpired(const CommandState& command, std::int64_t now) {
  if (settings::Get(settings::kQueuedDeliveryExpiryStatus) == 0) return false;
  const std::int64_t threshold = settings::Get(settings::kQueuedDeliveryExpiryThreshold);
  return BeginsWithNoCase(command.state, kDelivering) && now >= command.nextSendTime + threshold;
}

}  // namespace

OutgoingClaim OutgoingClaim::Take(std::string_view directory, std::string_view fileName) {
  OutgoingClaim claim;
  claim.path_ = platform::JoinPath(directory, fileName);
  auto file = platform::File::Open(claim.path_, platform::Access::kReadWrite, platform::kShareNone,
                                   platform::Disposition::kOpenExisting);
  if (!file) return claim;
  auto text = file.ReadAll(kMaximumCommandFileBytes);
  if (!text) return claim;
  const CommandState command = ReadState(*text);
  const std::int64_t now = platform::NowSeconds();
  claim.expired_ = HasExpired(command, now);
  const bool due = BeginsWithNoCase(command.state, kUnsent) && now >= command.nextSendTime;
  if (!claim.expired_ && !due) return claim;
  claim.text_ = std::move(*text);
  claim.file_ = std::move(file);
  return claim;
}

bool OutgoingClaim::LeavesNoTrace() const {
  return expired_ || FindUnsentLine(text_) == std::string::npos;
}

bool OutgoingClaim::Commit(std::string_view statusWord, std::string_view serverName) {
  if (!IsHeld()) return false;
  std::string claimed = expired_ ? text_ : ClaimedText(text_, statusWord, serverName);
  if (claimed == text_) return file_.RelaxShare(platform::kShareReadRemove);
  if (FitsInPlace(text_, claimed, statusWord)) {
    const std::string before = std::exchange(text_, std::move(claimed));
    return WriteInPlace(file_, before, text_);
  }
  auto next = platform::WholeFile::Create(path_);
  if (!next || !next.Write(claimed)) return false;
  auto held = next.CommitOver(file_, platform::kShareReadRemove,
                              DeliveryDurability(platform::Durability::kDataAndName));
  if (!held) return false;
  file_ = std::move(held);
  text_ = std::move(claimed);
  return true;
}

std::int32_t LockOutgoingCommandFile(const char* directory, const char* fileName,
                                     const char* statusWord, const char* serverName) {
  OutgoingClaim claim = OutgoingClaim::Take(directory, fileName);
  return claim.IsHeld() && claim.Commit(statusWord, serverName) ? 1 : 0;
}

}  // namespace corvane
