// WatchCommand.cpp -- cvctl watch: listens in the place of a service and prints what the connector
// asks of it. Ends by Ctrl-C or SIGTERM.
#include "cvctl/WatchCommand.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"
#include "connector/settings/Settings.h"
#include "cvctl/Command.h"
#include "cvctl/Names.h"
#include "cvctl/Printing.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/LocalSignal.h"
#include "platform/Path.h"

namespace corvane::cvctl {
namespace {

constexpr std::int32_t kLookMilliseconds = 200;
constexpr std::string_view kAction = "[CV_ACTION]\t";

volatile std::sig_atomic_t stopped = 0;

void Stop(int /*signal*/) { stopped = 1; }

struct WatchOptions {
  std::string mailbox;
  std::string protocol = "MTA";
  bool json = false;
};

struct Signal {
  std::string action;  // empty for one that is no service action
  std::string text;    // the action's argument, or the whole signal
};

Signal ParseSignal(std::string_view text) {
  if (!text.starts_with(kAction)) return {"", std::string(text)};
  text.remove_prefix(kAction.size());
  const std::size_t tab = std::min(text.find('\t'), text.size());
  return {std::string(text.substr(0, tab)),
          std::string(text.substr(std::min(tab + 1, text.size())))};
}

// Whether an action's file lies in the mailbox. Signals without a file are everybody's.
bool IsAbout(const Signal& signal, const std::string& postoffice, const std::string& mailbox) {
  if (signal.action.empty()) return true;
  std::string path = signal.text;
  std::replace(path.begin(), path.end(), '/', '\\');
  const std::string place = "\\" + postoffice + "\\MAILROOT\\" + mailbox + "\\";
  return PositionNoCase(path, place) != std::string::npos;
}

void Print(const Signal& signal, bool json) {
  const std::string time =
      platform::FormatTime(platform::ToLocalTime(platform::NowSeconds()), "%Y-%m-%dT%H:%M:%S");
  if (json) {
    PrintJsonLine({{"time", time}, {"action", signal.action}, {"text", signal.text}});
  } else {
    std::printf("%s  %-12s %s\n", time.c_str(), Shown(signal.action).c_str(),
                Shown(signal.text).c_str());
  }
  std::fflush(stdout);
}

[[noreturn]] void FailToListen(const std::string& socket) {
  const std::int32_t error = platform::LastError();
  const std::string place = platform::SystemPath(socket);
  if (error == platform::kErrorSharingViolation) {
    throw Failure(kTrouble, place +
                                ": another service listens there; stop it, or watch another "
                                "one's signals with --protocol");
  }
  throw Failure(kTrouble, place + ": " + platform::ErrorText(error) +
                              " Make its directory writable, or set \"Run Directory\" of "
                              "Providers");
}

void Watch(const WatchOptions& options) {
  const auto [postoffice, mailbox] = SplitMailboxName(options.mailbox);
  if (!platform::IsSafeName(options.protocol)) {
    throw Failure(kUsage, "\"" + options.protocol + "\" is no protocol word: give one such as MTA");
  }
  const std::string directory = settings::Get(settings::kRunDirectory);
  // After a start of the machine nobody may have made it yet; what is wrong shows at the socket.
  static_cast<void>(platform::CreateDirectories(directory));
  const std::string socket = platform::JoinPath(directory, options.protocol + ".sock");
  std::signal(SIGINT, Stop);
  std::signal(SIGTERM, Stop);
  platform::LocalSignalReceiver receiver(socket);
  if (!receiver.IsOpen()) FailToListen(socket);
  while (stopped == 0) {
    const auto text = receiver.Next(kLookMilliseconds);
    if (!text) continue;
    const Signal signal = ParseSignal(*text);
    if (IsAbout(signal, postoffice, mailbox)) Print(signal, options.json);
  }
}

}  // namespace

void AddWatchCommand(CLI::App& app) {
  auto options = std::make_shared<WatchOptions>();
  CLI::App* watch = app.add_subcommand("watch", "show the signals about a mailbox as they come");
  watch->add_option("MAILBOX", options->mailbox, "POSTOFFICE/MAILBOX")->required();
  watch->add_option("--protocol", options->protocol, "the service to listen for")
      ->capture_default_str();
  AddJsonFlag(watch, &options->json);
  watch->callback([options] { Watch(*options); });
}

}  // namespace corvane::cvctl
