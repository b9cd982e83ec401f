// QueueView.cpp -- cvctl queue list and show.
#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

#include "connector/queue/CommandText.h"
#include "connector/queue/Durability.h"
#include "cvctl/Command.h"
#include "cvctl/Printing.h"
#include "cvctl/Progress.h"
#include "cvctl/QueueOptions.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Format.h"
#include "platform/Path.h"
#include "platform/WholeFile.h"

namespace corvane::cvctl {
namespace {

using nlohmann::ordered_json;

// One message of a queue.
struct Entry {
  std::string name;
  std::vector<std::pair<std::string, std::string>> values;
  std::int64_t age = 0;
  std::optional<std::uint64_t> messageBytes;

  // The last of equal keys counts, as for the connector.
  [[nodiscard]] std::string Value(std::string_view key) const {
    std::string found;
    for (const auto& [name_, value] : values) {
      if (name_ == key) found = value;
    }
    return found;
  }
};

void ReadValues(const std::string& path, Entry& entry) {
  const auto text = platform::ReadWholeFile(path, kMaximumCommandFileBytes);
  if (!text) {
    const bool held = platform::LastError() == platform::kErrorSharingViolation;
    entry.values.emplace_back("Status", held ? "(held)" : "(unreadable)");
    return;
  }
  LineWalker lines(*text);
  while (const auto line = lines.Next()) {
    const std::size_t equals = line->find('=');
    if (equals == std::string_view::npos) continue;
    entry.values.emplace_back(line->substr(0, equals), line->substr(equals + 1));
  }
}

std::optional<Entry> ReadEntry(const std::string& directory, const std::string& name) {
  const std::string path = platform::JoinPath(directory, name);
  const auto info = platform::GetFileInfo(path);
  if (!info || info->directory) return std::nullopt;
  Entry entry;
  entry.name = name;
  entry.age = std::max<std::int64_t>(0, platform::NowSeconds() - info->lastWriteTime);
  ReadValues(path, entry);
  const auto message = platform::GetFileInfo(directory + "\\Messages\\" + name);
  if (message) entry.messageBytes = message->size;
  return entry;
}

ordered_json EntryJson(const Entry& entry) {
  ordered_json values = ordered_json::object();
  for (const auto& [key, value] : entry.values) values[key] = value;
  ordered_json document = {{"name", entry.name}, {"ageSeconds", entry.age}};
  document["messageBytes"] = nullptr;
  if (entry.messageBytes) document["messageBytes"] = *entry.messageBytes;
  document["values"] = std::move(values);
  return document;
}

constexpr std::size_t kShownRecipients = 60;

std::string EntryLine(const Entry& entry) {
  const std::string size = entry.messageBytes ? std::to_string(*entry.messageBytes) : "missing";
  return platform::FormatText("%-36s  %-11s  %8lld s  %10s  %-15s  %s\n", Shown(entry.name).c_str(),
                              Shown(entry.Value("Status")).c_str(),
                              static_cast<long long>(entry.age), size.c_str(),
                              Shown(entry.Value("Server")).c_str(),
                              ShownShort(entry.Value("Recipients"), kShownRecipients).c_str());
}

}  // namespace

void ListQueue(const QueueOptions& options) {
  ExpectQueue(options);
  const std::string directory = options.Directory();
  const std::vector<std::string> names = QueuedNames(options);
  ordered_json document = ordered_json::array();
  if (!options.json) {
    std::printf("%-36s  %-11s  %10s  %10s  %-15s  %s\n", "NAME", "STATE", "AGE", "BYTES", "SERVER",
                "RECIPIENTS");
  }
  {
    Progress progress("reading", names.size());
    for (const std::string& name : names) {
      const auto entry = ReadEntry(directory, name);
      if (entry && options.json) document.push_back(EntryJson(*entry));
      if (entry && !options.json) progress.PrintLine(EntryLine(*entry));
      progress.Step();
    }
  }
  if (options.json) PrintJson(document);
}

void ShowQueued(const QueueOptions& options) {
  ExpectQueue(options);
  const std::string& name = CheckedQueueName(options.names.front());
  const auto entry = ReadEntry(options.Directory(), name);
  if (!entry) {
    throw Failure(kNotFound, name + " is not in the queue; see 'cvctl queue list" +
                                 (options.inbound ? " --inbound'" : "'"));
  }
  if (options.json) return PrintJson(EntryJson(*entry));
  for (const auto& [key, value] : entry->values) {
    std::printf("%s=%s\n", Shown(key).c_str(), Shown(value).c_str());
  }
  const std::string bytes =
      entry->messageBytes ? std::to_string(*entry->messageBytes) + " bytes" : "missing";
  std::printf("(message file: %s, age of the command file: %lld s)\n", bytes.c_str(),
              static_cast<long long>(entry->age));
}

}  // namespace corvane::cvctl
