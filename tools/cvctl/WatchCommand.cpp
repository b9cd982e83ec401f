// WatchCommand.cpp -- cvctl watch: listens in the place of a service and prints what the connector
// asks of it. Ends by Ctrl-C or SIGTERM.
#include "cvctl/WatchCommand.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"
#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "configuration/ConfiguredStore.h"
#include "configuration/Lookups.h"
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
constexpr std::string_view kNotify = "[CV_NOTIFY]\t";

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

// The mailbox that is watched.
struct Watched {
  std::string postoffice;
  std::string mailbox;
  std::string place;  // in every path below its directory
  std::string moved;  // what those paths begin with when the postoffice has a root of its own
};

// In one spelling: roots may end in a separator, and paths are put together from them.
std::string WithBackslashes(std::string path) {
  std::replace(path.begin(), path.end(), '/', '\\');
  const auto both = [](char a, char b) { return a == '\\' && b == '\\'; };
  path.erase(std::unique(path.begin(), path.end(), both), path.end());
  return path;
}

// Where the postoffice's own root puts the mailbox; empty when it has none.
std::string MovedDirectory(const std::string& postoffice, const std::string& mailbox) {
  if (!configuration::AllowsCustomRoots()) return "";
  std::string root;
  const auto answer = configuration::AskStore([&](platform::Database& store) {
    return configuration::FindOption(store, static_cast<std::int32_t>(OptionKind::kPostoffice),
                                     postoffice, configuration::kPostofficeRootOption, root);
  });
  if (answer != configuration::Answer::kFound || root.empty()) return "";
  return WithBackslashes(configuration::MailboxDirectory(postoffice, mailbox, root)) + "\\";
}

Watched WatchedMailbox(const std::string& name) {
  const auto [postoffice, mailbox] = SplitMailboxName(name);
  return {postoffice, mailbox, "\\" + postoffice + "\\MAILROOT\\" + mailbox + "\\",
          MovedDirectory(postoffice, mailbox)};
}

// A store that can't be asked, or none, keeps nobody from watching.
void ExpectMailbox(const Watched& watched) {
  const auto answer = configuration::AskStore([&](platform::Database& store) {
    configuration::MailboxEntry found;
    return configuration::FindMailbox(store, watched.postoffice, watched.mailbox, found);
  });
  if (answer != configuration::Answer::kUnknown) return;
  throw Failure(kNotFound, "there is no mailbox " + watched.postoffice + "/" + watched.mailbox +
                               "; see 'cvctl mailbox list'");
}

bool IsFileOf(const std::string& argument, const Watched& watched) {
  const std::string path = WithBackslashes(argument);
  return PositionNoCase(path, watched.place) != std::string::npos ||
         (!watched.moved.empty() &&
          platform::EqualsNoCase(path.substr(0, watched.moved.size()), watched.moved));
}

// [CV_NOTIFY], session, token, action, type, postoffice, mailbox ...: a signal that names no
// mailbox is everybody's.
bool IsForClientsOf(std::string_view text, const Watched& watched) {
  constexpr std::size_t kPostofficeField = 5;
  std::vector<std::string_view> fields;
  for (std::size_t begin = 0; fields.size() < kPostofficeField + 2;) {
    const std::size_t end = text.find('\t', begin);
    fields.push_back(text.substr(begin, end - begin));
    if (end == std::string_view::npos) break;
    begin = end + 1;
  }
  return fields.size() < kPostofficeField + 2 ||
         (platform::EqualsNoCase(fields[kPostofficeField], watched.postoffice) &&
          platform::EqualsNoCase(fields[kPostofficeField + 1], watched.mailbox));
}

// An action is about the mailbox when its file lies there, a client signal when it names it. All
// other signals are everybody's.
bool IsAbout(const Signal& signal, const Watched& watched) {
  if (!signal.action.empty()) return IsFileOf(signal.text, watched);
  return !signal.text.starts_with(kNotify) || IsForClientsOf(signal.text, watched);
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
  if (error == platform::kErrorFileExists) {
    throw Failure(kTrouble, place +
                                ": is no socket; remove it, or watch another service's "
                                "signals with --protocol");
  }
  throw Failure(kTrouble, place + ": " + platform::ErrorText(error) +
                              " Make its directory writable, or set \"Run Directory\" of "
                              "Providers");
}

void Watch(const WatchOptions& options) {
  const Watched watched = WatchedMailbox(options.mailbox);
  if (!platform::IsSafeName(options.protocol)) {
    throw Failure(kUsage, "\"" + options.protocol + "\" is no protocol word: give one such as MTA");
  }
  ExpectMailbox(watched);
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
    if (IsAbout(signal, watched)) Print(signal, options.json);
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
