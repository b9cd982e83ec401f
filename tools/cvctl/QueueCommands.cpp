// QueueCommands.cpp -- cvctl queue: puts messages into the outbound queue and looks after those in
// it.
#include "cvctl/QueueCommands.h"

#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CLIENTS/CVMAPI/CVMSLIB/common/Identifiers.h"
#include "connector/queue/CommandText.h"
#include "connector/queue/Durability.h"
#include "connector/queue/OutgoingCommandFile.h"
#include "connector/queue/OutgoingReset.h"
#include "connector/queue/QueuePaths.h"
#include "cvctl/Installation.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"
#include "platform/WholeFile.h"

namespace corvane::cvctl {
namespace {

constexpr const char* kConnector = "SF";
constexpr std::size_t kPieceBytes = 65536;
constexpr char kBracketGuard = '\x1f';

// What the commands below are given.
struct QueueOptions {
  std::string file;
  std::string from;
  std::vector<std::string> to;
  std::vector<std::string> names;
  bool inbound = false;
  bool all = false;
  bool json = false;

  [[nodiscard]] std::string Directory() const {
    std::string directory = QueueRoot();
    return directory.append("\\").append(kConnector).append(inbound ? "\\Inbound" : "\\Outgoing");
  }
};

[[noreturn]] void FailWith(const std::string& what) {
  throw Failure(kTrouble, what + ": " + platform::ErrorText(platform::LastError()));
}

std::string Unguarded(std::string word) {
  if (word.ends_with(kBracketGuard)) word.pop_back();
  return word;
}

std::string CheckedItem(const std::string& word) {
  const std::string item = Unguarded(word);
  const bool bracketed = item.starts_with('[') && item.ends_with(']');
  const std::size_t slash = item.find('/');
  if (!bracketed && (slash == std::string::npos || slash == 0 || slash + 1 == item.size())) {
    throw Failure(kUsage,
                  "recipient \"" + item + "\" is no POSTOFFICE/MAILBOX and no [SF:...] item");
  }
  if (item.find_first_of(";\r\n") != std::string::npos) {
    throw Failure(kUsage,
                  "recipient \"" + item + "\" holds a ';' or a line end; give each one by itself");
  }
  return bracketed ? item : "[SF:" + item + "]";
}

std::string SenderItem(const std::string& from) {
  if (from.find_first_of("\r\n") != std::string::npos) {
    throw Failure(kUsage, "the sender holds a line end");
  }
  if (from.empty() || from == "<>") return "[SMTP:]";
  return from.starts_with('[') ? from : "[SMTP:" + from + "]";
}

void CopyStandardInput(platform::WholeFile& target) {
  std::array<char, kPieceBytes> piece;
  while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), stdin)) {
    if (!target.Write({piece.data(), got})) FailWith("the message can't be written to the queue");
  }
  if (std::ferror(stdin) != 0) throw Failure(kUsage, "standard input can't be read to its end");
}

void WriteMessageFile(const std::string& file, const std::string& path) {
  auto target = platform::WholeFile::Create(path);
  if (!target) FailWith("the queue can't be written; is " + path + " in its place?");
  if (file == "-") {
    CopyStandardInput(target);
  } else {
    auto source = platform::File::Open(file, platform::Access::kRead, platform::kShareAll,
                                       platform::Disposition::kOpenExisting);
    if (!source) throw Failure(kUsage, file + ": " + platform::ErrorText(platform::LastError()));
    if (!target.CopyFrom(source, 0)) FailWith("the message can't be written to the queue");
  }
  if (!target.Commit(false, platform::Durability::kDataAndName)) {
    FailWith("the message can't be written to the queue");
  }
}

void Submit(const QueueOptions& options) {
  ConnectorMessage message;
  SetText(message.Connector, kConnector);
  SetText(message.MessageID, NewMessageId());
  const std::string sender = SenderItem(Unguarded(options.from));
  if (sender.size() >= sizeof(message.Sender)) throw Failure(kUsage, "the sender is too long");
  SetText(message.Sender, sender);
  for (const std::string& item : options.to) {
    if (!message.Recipients.empty()) message.Recipients += ';';
    message.Recipients += CheckedItem(item);
  }
  message.TimeAcquired = static_cast<std::int32_t>(platform::NowSeconds());
  message.NextSendTime = message.TimeAcquired;
  SetText(message.Priority, "Normal");
  SetText(message.Status, "Unsent");
  LoadInstallation();
  WriteMessageFile(Unguarded(options.file), OutgoingMessagePath(kConnector, message.MessageID));
  if (WriteOutgoingCommandFile(message) != 1) {
    const std::int32_t error = platform::LastError();
    DeleteOutgoingMessageFile(message);
    throw Failure(kTrouble, "the command file can't be written: " + platform::ErrorText(error));
  }
  std::printf("%s\n", message.MessageID);
}

// One entry of a queue as the commands show it.
struct Entry {
  std::string name;
  std::vector<std::pair<std::string, std::string>> values;
  std::int64_t age = 0;
  std::optional<std::uint64_t> messageBytes;

  [[nodiscard]] std::string Value(std::string_view key) const {
    std::string found;
    for (const auto& [name_, value] : values) {
      if (name_ == key) found = value;
    }
    return found;
  }
};

std::optional<Entry> ReadEntry(const std::string& directory, const std::string& name) {
  const std::string path = platform::JoinPath(directory, name);
  const auto info = platform::GetFileInfo(path);
  if (!info) return std::nullopt;
  Entry entry;
  entry.name = name;
  entry.age = std::max<std::int64_t>(0, platform::NowSeconds() - info->lastWriteTime);
  if (const auto text = platform::ReadWholeFile(path, kMaximumCommandFileBytes)) {
    LineWalker lines(*text);
    while (const auto line = lines.Next()) {
      const std::size_t equals = line->find('=');
      if (equals == std::string_view::npos) continue;
      entry.values.emplace_back(line->substr(0, equals), line->substr(equals + 1));
    }
  } else if (platform::LastError() == platform::kErrorSharingViolation) {
    entry.values.emplace_back("Status", "(held)");
  }
  const auto message = platform::GetFileInfo(directory + "\\Messages\\" + name);
  if (message) entry.messageBytes = message->size;
  return entry;
}

nlohmann::ordered_json EntryJson(const Entry& entry) {
  nlohmann::ordered_json values = nlohmann::ordered_json::object();
  for (const auto& [key, value] : entry.values) values[key] = value;
  nlohmann::ordered_json document = {{"name", entry.name}, {"ageSeconds", entry.age}};
  document["messageBytes"] = nullptr;
  if (entry.messageBytes) document["messageBytes"] = *entry.messageBytes;
  document["values"] = std::move(values);
  return document;
}

void PrintEntryLine(const Entry& entry) {
  const std::string size = entry.messageBytes ? std::to_string(*entry.messageBytes) : "missing";
  std::printf("%-36s  %-10s  %8lld s  %10s  %-15s  %s\n", entry.name.c_str(),
              entry.Value("Status").c_str(), static_cast<long long>(entry.age), size.c_str(),
              entry.Value("Server").c_str(), entry.Value("Recipients").substr(0, 60).c_str());
}

void List(const QueueOptions& options) {
  LoadInstallation();
  const std::string directory = options.Directory();
  if (!platform::DirectoryExists(directory)) {
    throw Failure(kNotFound, directory + " isn't there; has this installation run 'cvctl init'?");
  }
  platform::FileFinder files(directory + "\\*.MAI");
  nlohmann::ordered_json document = nlohmann::ordered_json::array();
  if (!options.json) {
    std::printf("%-36s  %-10s  %10s  %10s  %-15s  %s\n", "NAME", "STATE", "AGE", "BYTES", "SERVER",
                "RECIPIENTS");
  }
  while (const auto file = files.Next(false)) {
    const auto entry = ReadEntry(directory, file->name);
    if (!entry) continue;
    if (options.json) {
      document.push_back(EntryJson(*entry));
    } else {
      PrintEntryLine(*entry);
    }
  }
  if (options.json) PrintJson(document);
}

const std::string& CheckedName(const std::string& name) {
  if (!platform::IsSafeName(name))
    throw Failure(kUsage, "\"" + name + "\" is no name of a queue file");
  return name;
}

void Show(const QueueOptions& options) {
  LoadInstallation();
  const std::string& name = CheckedName(options.names.front());
  const auto entry = ReadEntry(options.Directory(), name);
  if (!entry) throw Failure(kNotFound, name + " is not in the queue");
  if (options.json) return PrintJson(EntryJson(*entry));
  for (const auto& [key, value] : entry->values) std::printf("%s=%s\n", key.c_str(), value.c_str());
  const std::string bytes =
      entry->messageBytes ? std::to_string(*entry->messageBytes) + " bytes" : "missing";
  std::printf("(message file: %s, age of the command file: %lld s)\n", bytes.c_str(),
              static_cast<long long>(entry->age));
}

std::vector<std::string> ChosenNames(const QueueOptions& options) {
  if (options.all == !options.names.empty())
    throw Failure(kUsage, "give names, or --all for every one");
  if (!options.all) return options.names;
  std::vector<std::string> names;
  platform::FileFinder files(options.Directory() + "\\*.MAI");
  while (const auto file = files.Next(false)) names.push_back(file->name);
  return names;
}

// Carries out `step` for each chosen name and ends with the worst outcome.
template <typename Step>
void ForEachName(const QueueOptions& options, const char* done, Step step) {
  LoadInstallation();
  ExitCode worst = kDone;
  for (const std::string& name : ChosenNames(options)) {
    if (step(options.Directory(), CheckedName(name))) {
      std::printf("%s %s\n", name.c_str(), done);
      continue;
    }
    const bool missing = platform::LastError() == platform::kErrorFileNotFound;
    const bool held = platform::LastError() == platform::kErrorSharingViolation;
    std::fprintf(stderr, "cvctl: %s: %s\n", name.c_str(),
                 missing ? "not in the queue"
                 : held  ? "being delivered just now; try again later"
                         : platform::ErrorText(platform::LastError()).c_str());
    worst = std::max(worst, missing ? kNotFound : kTrouble);
  }
  if (worst != kDone) throw Failure(worst, "");
}

void Reset(const QueueOptions& options) {
  ForEachName(options, "reset", [](const std::string& directory, const std::string& name) {
    return ForceOutgoingReset(directory.c_str(), name.c_str());
  });
}

// Holds the command file while both go, so that no worker is left with half a message.
bool RemoveEntry(const std::string& directory, const std::string& name) {
  const std::string path = platform::JoinPath(directory, name);
  auto held = platform::File::Open(path, platform::Access::kReadWrite, platform::kShareNone,
                                   platform::Disposition::kOpenExisting);
  if (!held) return false;
  const bool gone = platform::DeleteFile(directory + "\\Messages\\" + name) ||
                    platform::LastError() == platform::kErrorFileNotFound;
  return gone && held.RemoveName(path);
}

void AddNames(CLI::App* command, QueueOptions& options) {
  command->add_option("NAME", options.names, "names of queued messages");
  command->add_flag("--all", options.all, "every message of the queue");
}

void AddInbound(CLI::App* command, QueueOptions& options) {
  command->add_flag("--inbound", options.inbound, "the inbound queue instead of the outbound one");
}

}  // namespace

std::vector<std::string> GuardedWords(int argc, const char* const* argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  if (words.size() < 2 || words[0] != "queue" || words[1] != "submit") return words;
  for (std::string& word : words) {
    if (word.starts_with('[') && word.ends_with(']')) word += kBracketGuard;
  }
  return words;
}

void AddQueueCommands(CLI::App& app) {
  auto options = std::make_shared<QueueOptions>();
  CLI::App* queue = app.add_subcommand("queue", "the queues: submit, list, show, reset, remove");
  queue->require_subcommand(1);

  CLI::App* submit = queue->add_subcommand("submit", "put a message into the outbound queue");
  submit->add_option("FILE", options->file, "the message, or - for standard input")->required();
  submit->add_option("--from", options->from, "envelope sender; empty for a bounce")->required();
  submit->add_option("--to", options->to, "recipients: POSTOFFICE/MAILBOX or [SF:...]")->required();
  submit->callback([options] { Submit(*options); });

  CLI::App* list = queue->add_subcommand("list", "the messages of a queue");
  AddInbound(list, *options);
  AddJsonFlag(list, &options->json);
  list->callback([options] { List(*options); });

  CLI::App* show = queue->add_subcommand("show", "what the queue says of one message");
  show->add_option("NAME", options->names, "name of a queued message")->required()->expected(1);
  AddInbound(show, *options);
  AddJsonFlag(show, &options->json);
  show->callback([options] { Show(*options); });

  CLI::App* reset = queue->add_subcommand("reset", "make messages unsent and due now");
  AddNames(reset, *options);
  reset->callback([options] { Reset(*options); });

  CLI::App* remove = queue->add_subcommand("remove", "delete messages from a queue");
  AddNames(remove, *options);
  AddInbound(remove, *options);
  remove->callback([options] { ForEachName(*options, "removed", RemoveEntry); });
}

}  // namespace corvane::cvctl
