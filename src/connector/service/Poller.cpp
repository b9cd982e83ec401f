#include "connector/service/Poller.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "CLIENTS/CVMAPI/CVMSLIB/common/TimedWait.h"
#include "SERVICES/Library/LIBRPCNotify/RemoteNotification.h"
#include "SERVICES/Library/LIBStoreLibrary/StoreLibrary.h"
#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/queue/OutgoingCommandFile.h"
#include "connector/queue/OutgoingReset.h"
#include "connector/queue/QueuePaths.h"
#include "connector/queue/QueueStatistics.h"
#include "connector/service/ClusterRole.h"
#include "connector/service/StartReports.h"
#include "connector/service/Worker.h"
#include "connector/service/WorkerPlaces.h"
#include "connector/settings/ProcessState.h"
#include "connector/settings/Settings.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/Machine.h"
#include "platform/Thread.h"

namespace corvane {
namespace {

constexpr const char* kServiceName = "SF";
constexpr const char* kDeliveringState = "Delivering";
constexpr std::int64_t kLeftoverSeconds = 3600;
constexpr std::int64_t kLeastPauseSeconds = 600;

bool Stopping() { return settings::StopFlag().load() != 0; }

// Whole seconds since the last change; less than 0 for one to come.
std::int64_t AgeSeconds(const platform::FileInfo& info) {
  constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
  const std::int64_t changed =
      info.lastWriteTime * 1000 + info.lastWriteNanoseconds / kNanosecondsPerMillisecond;
  return (platform::CurrentClock().Milliseconds() - changed) / 1000;
}

// A wait is counted in 32 bits; an interval of weeks stays one.
std::uint32_t IntervalMilliseconds() {
  constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
  const std::uint32_t seconds = settings::Get(settings::kOutgoingPollInterval);
  return seconds > kMost / 1000 ? kMost : seconds * 1000;
}

void WriteCounter(const settings::DwordSetting& counter, std::int64_t value) {
  WriteStatistic(counter, static_cast<std::uint32_t>(value));
}

// Gives the role back at the end of a sweep, however it ends.
class RoleHold {
 public:
  explicit RoleHold(ClusterRole& role) : role_(role) {}
  ~RoleHold() { role_.Release(); }
  RoleHold(const RoleHold&) = delete;
  RoleHold& operator=(const RoleHold&) = delete;

 private:
  ClusterRole& role_;
};

class Poller {
 public:
  void Run() {
    Start();
    while (!Stopping()) {
      // One pass that fails is told; the next one tries again.
      EndException([this] { Pass(); },
                   [](const ExceptionDetails& details) {
                     ReportException(FormatExceptionReport("PollOutboundQueue", CV_HERE, details));
                   });
    }
    Lib_StoreLibrary_UnInit();
  }

 private:
  void Start();
  void ResetQueue();
  void RemoveLeftovers();
  void Pass();
  void Sweep();
  bool Turn(const platform::FoundFile& file, bool& sameFileAgain);
  void Claim(const std::string& fileName);
  bool MayTakeAgain(const OutgoingClaim& claim, const std::string& fileName);
  void StartWorker(OutgoingClaim claim);

  std::string serverName_;
  std::string directory_;
  std::string pattern_;
  ClusterRole role_;
  ConnectorMessage message_;
  std::uint32_t turns_ = 0;
  std::unordered_map<std::string, std::int64_t> leftAsTheyWere_;  // name, time of the take
  std::int64_t greatestAge_ = 0;
};

void Poller::Start() {
  Lib_StoreLibrary_Init();
  BindRemoteNotification();
  WriteCounter(settings::kServiceStart, platform::NowSeconds());
  serverName_ = platform::ComputerName();
  LogDebugF("Initialised Postoffice Connector on %s\n", serverName_.c_str());
  ReportSettings();
  role_.Load(kServiceName);
  SetText(message_.Connector, kServiceName);
  directory_ = OutgoingDirectory(kServiceName);
  pattern_ = directory_ + "\\*.MAI";
  ReportQueue(directory_);
  RemoveLeftovers();
  if (settings::Get(settings::kResetMessagesOnRestart) != 0) ResetQueue();
  if (DebugLevelAbove(5)) LogTimings();
}

void Poller::ResetQueue() {
  std::int32_t error = 0;
  std::optional<RoleHold> hold;
  if (role_.TryAcquire(error) == 1) hold.emplace(role_);
  // A rewritten file is a new entry of its directory, which some file systems list once more.
  std::unordered_set<std::size_t> seen;
  platform::FileFinder files(pattern_);
  while (const auto file = files.Next(false)) {
    if (!seen.insert(std::hash<std::string>()(file->name)).second) continue;
    ResetOutgoingCommandFile(directory_.c_str(), file->name.c_str(), serverName_.c_str(),
                             settings::Get(settings::kQueueResetTime));
  }
}

// A writer that died between two of its steps leaves its unfinished file under a name that no
// search matches.
void Poller::RemoveLeftovers() {
  const std::int64_t now = platform::NowSeconds();
  for (const std::string& directory : {directory_, directory_ + "\\Messages"}) {
    platform::FileFinder files(directory + "\\_*.MAI.tmp");
    while (const auto file = files.Next()) {
      if (now - file->info.lastWriteTime < kLeftoverSeconds) continue;
      static_cast<void>(platform::DeleteFile(directory + "\\" + file->name));
    }
  }
}

// One pass of the loop: the wait, the role, the sweep.
void Poller::Pass() {
  TimedWait(IntervalMilliseconds());
  turns_ = 0;
  WriteCounter(settings::kOutboundQueueItemMaxAge, greatestAge_);
  greatestAge_ = 0;
  std::int32_t error = 0;
  if (role_.TryAcquire(error) != 1) {
    if (DebugLevelAbove(9)) {
      LogDebug(
          "Server role was elected as slave server, this server will not processes the queue until "
          "next election.\n");
    }
    return;
  }
  const RoleHold hold(role_);
  WriteCounter(settings::kOutboundQueueLastPoll, platform::NowSeconds());
  Sweep();
  WriteCounter(settings::kOutboundQueueLength, turns_);
}

void Poller::Sweep() {
  platform::FileFinder files(pattern_);
  auto file = files.Next();
  if (!file && DebugLevelAbove(9)) {
    LogDebugF("Spooling Queue (%s) is empty.\n", pattern_.c_str());
  }
  bool sameFileAgain = false;
  while (file && !Stopping()) {
    if (!Turn(*file, sameFileAgain)) return;
    if (!sameFileAgain) file = files.Next();
  }
}

// One turn over one file. False ends the sweep; `sameFileAgain` when the thread limit held the file
// up.
bool Poller::Turn(const platform::FoundFile& file, bool& sameFileAgain) {
  ++turns_;
  greatestAge_ = std::max(greatestAge_, AgeSeconds(file.info));
  const std::int64_t limit = settings::Get(settings::kMaximumPickupThreads);
  sameFileAgain = settings::ActiveDeliveryThreads().load() >= limit;
  if (!sameFileAgain) {
    Claim(file.name);
    return true;
  }
  if (role_.ClusterMode() == ClusterRole::kElectionPassedOn) return false;
  const std::uint32_t delay = settings::Get(settings::kOutboundPollDelay);
  if (delay == 0) {
    WaitForPlace();
  } else {
    TimedWait(delay);
  }
  return true;
}

void Poller::Claim(const std::string& fileName) {
  message_.Reset();
  SetText(message_.Connector, kServiceName);
  SetText(message_.MessageID, fileName);
  OutgoingClaim claim = OutgoingClaim::Take(directory_, fileName);
  if (!claim.IsHeld() || !MayTakeAgain(claim, fileName)) {
    if (DebugLevelAbove(9)) {
      LogDebugF(
          "Unable to lock message %s for sending. Another process is currently accessing the "
          "message "
          "file.\n",
          fileName.c_str());
    }
    return;
  }
  if (DebugLevelAbove(9)) LogDebugF("Message %s locked for delivery.\n", fileName.c_str());
  // A name longer than a message's is cut in the record and would lead to another file.
  const bool longName = fileName != message_.MessageID;
  if (!longName && ParseOutgoingCommandText(claim.Text(), message_)) {
    SetText(message_.Status, kDeliveringState);
    StartWorker(std::move(claim));
  } else if (claim.Commit(kDeliveringState, serverName_)) {
    // Left in Delivering, so that it is told once and not in every sweep.
    LogDebugF(longName ? "Message %s has too long a name. It stays in the queue.\n"
                       : "Message %s has no recipients that can be read. It stays in the queue.\n",
              fileName.c_str());
  }
  TimedWait(settings::Get(settings::kPostDeliveryThreadCreationDelay));
}

// A claim that leaves its file as it was would be taken again by the next sweep, once its worker
// has ended without settling it; one such take in a threshold is enough.
bool Poller::MayTakeAgain(const OutgoingClaim& claim, const std::string& fileName) {
  if (!claim.LeavesNoTrace()) return true;
  const std::int64_t now = platform::NowSeconds();
  const std::int64_t pause = std::max<std::int64_t>(
      kLeastPauseSeconds, settings::Get(settings::kQueuedDeliveryExpiryThreshold));
  std::erase_if(leftAsTheyWere_, [&](const auto& left) { return now - left.second >= pause; });
  return leftAsTheyWere_.try_emplace(fileName, now).second;
}

void Poller::StartWorker(OutgoingClaim claim) {
  auto claimed = std::make_shared<std::unique_ptr<ClaimedMessage>>(
      std::make_unique<ClaimedMessage>(ClaimedMessage{message_, std::move(claim), serverName_}));
  TakenPlace place;
  const bool started = platform::StartThread(platform::kWorkerStackBytes,
                                             [claimed] { WorkerThread(std::move(*claimed)); });
  if (started) return place.KeepForWorker();
  LogDebug("Failed to start send thread...\n");
}

}  // namespace

void PollOutboundQueue() { Poller().Run(); }

}  // namespace corvane
