// QueueChanges.cpp -- cvctl queue reset and remove: one outcome a message, the worst one as the
// exit code.
#include <algorithm>
#include <string>
#include <utility>

#include "connector/queue/InboundCommandFile.h"
#include "connector/queue/OutgoingReset.h"
#include "connector/queue/QueuePaths.h"
#include "cvctl/Advice.h"
#include "cvctl/Command.h"
#include "cvctl/Printing.h"
#include "cvctl/Progress.h"
#include "cvctl/QueueOptions.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane::cvctl {
namespace {

using nlohmann::ordered_json;

// Tells what became of each message as it happens, and of the failures in one line at the end.
class Outcomes {
 public:
  Outcomes(const char* doing, std::size_t total, bool json)
      : progress_(doing, total), json_(json), total_(total) {}

  void Done(const std::string& name, const char* done) {
    if (json_) {
      document_.push_back({{"name", name}, {"done", done}});
    } else {
      progress_.PrintLine(Shown(name) + " " + done + "\n");
    }
    progress_.Step();
  }

  // By the calling thread's last error.
  void Failed(const std::string& name) {
    const std::int32_t error = platform::LastError();
    const bool missing = error == platform::kErrorFileNotFound;
    const bool held = error == platform::kErrorSharingViolation;
    const std::string why = missing ? "not in the queue; see 'cvctl queue list'"
                            : held  ? "at work in another program; try again later"
                                    : WithAdvice(error);
    if (json_) document_.push_back({{"name", name}, {"error", why}});
    if (failed_++ == 0) firstFailure_ = name + ": " + why;
    worst_ = std::max(worst_, missing ? kNotFound : kTrouble);
    progress_.Step();
  }

  void Finish() {
    if (json_) PrintJson({{"messages", document_}});
    if (failed_ == 0) return;
    if (total_ == 1) throw Failure(worst_, firstFailure_);
    throw Failure(worst_, std::to_string(failed_) + " of " + std::to_string(total_) +
                              " messages failed, first " + firstFailure_);
  }

 private:
  Progress progress_;
  const bool json_;
  const std::size_t total_;
  ordered_json document_ = ordered_json::array();
  std::size_t failed_ = 0;
  std::string firstFailure_;
  ExitCode worst_ = kDone;
};

std::vector<std::string> ChosenNames(const QueueOptions& options) {
  if (options.all == !options.names.empty()) {
    throw Failure(kUsage, "which messages? Give their names, or --all for every one");
  }
  for (const std::string& name : options.names) CheckedQueueName(name);
  ExpectQueue(options);
  return options.all ? QueuedNames(options) : options.names;
}

void Tell(Outcomes& outcomes, const std::string& name, InboundReset outcome) {
  if (outcome == InboundReset::kFailed) return outcomes.Failed(name);
  outcomes.Done(name, outcome == InboundReset::kReset ? "reset" : "was Undelivered already");
}

void ResetInbound(const QueueOptions& options, const std::vector<std::string>& names) {
  Outcomes outcomes("resetting", names.size(), options.json);
  const std::string connectorDirectory = ConnectorDirectory(kQueueConnector);
  if (options.all) {
    InboundQueue queue;
    SetText(queue.DisplayName, kQueueConnector);
    SetText(queue.Connector, kQueueConnector);
    queue.Reset = 1;
    queue.ConnectorDirectory = connectorDirectory;
    ResetInboundQueue(queue, [&](const std::string& name, InboundReset outcome) {
      Tell(outcomes, name, outcome);
    });
  } else {
    for (const std::string& name : names) {
      Tell(outcomes, name, ResetInboundCommandFile(connectorDirectory, name));
    }
  }
  outcomes.Finish();
}

// Holds the command file while both go, so that no worker is left with half a message.
bool RemoveEntry(const std::string& directory, const std::string& name) {
  const std::string path = platform::JoinPath(directory, name);
  auto held = platform::File::Open(path, platform::Access::kReadWrite, platform::kShareNone,
                                   platform::Disposition::kOpenExisting);
  if (!held) return false;
  const bool gone = platform::DeleteFile(directory + "\\Messages\\" + name) ||
                    platform::LastError() == platform::kErrorFileNotFound ||
                    platform::LastError() == platform::kErrorPathNotFound;
  return gone && held.RemoveName(path);
}

bool ResetEntry(const std::string& directory, const std::string& name) {
  return ForceOutgoingReset(directory.c_str(), name.c_str());
}

void ForEach(const QueueOptions& options, const std::vector<std::string>& names, const char* doing,
             const char* done, bool (*step)(const std::string&, const std::string&)) {
  Outcomes outcomes(doing, names.size(), options.json);
  for (const std::string& name : names) {
    if (step(options.Directory(), name)) {
      outcomes.Done(name, done);
    } else {
      outcomes.Failed(name);
    }
  }
  outcomes.Finish();
}

}  // namespace

void ResetQueued(const QueueOptions& options) {
  const std::vector<std::string> names = ChosenNames(options);
  if (options.inbound) return ResetInbound(options, names);
  ForEach(options, names, "resetting", "reset", ResetEntry);
}

void RemoveQueued(const QueueOptions& options) {
  ForEach(options, ChosenNames(options), "removing", "removed", RemoveEntry);
}

}  // namespace corvane::cvctl
