// QueueSubmit.cpp -- cvctl queue submit: a message into the outbound queue, the message file first.
#include <array>
#include <cstdio>
#include <optional>

#include "CLIENTS/CVMAPI/CVMSLIB/common/Identifiers.h"
#include "connector/queue/OutgoingCommandFile.h"
#include "connector/queue/QueuePaths.h"
#include "cvctl/Advice.h"
#include "cvctl/BracketGuard.h"
#include "cvctl/Command.h"
#include "cvctl/Names.h"
#include "cvctl/QueueCommands.h"
#include "cvctl/QueueOptions.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"
#include "platform/WholeFile.h"

namespace corvane::cvctl {
namespace {

constexpr std::size_t kPieceBytes = 65536;

[[noreturn]] void FailToWrite(const std::string& path) {
  const std::int32_t error = platform::LastError();
  throw Failure(kTrouble, platform::SystemPath(path) + ": " + WithAdvice(error));
}

// The "postoffice/name" of an item that this queue can serve; other connectors' items have none.
std::optional<std::string> LocalNames(const std::string& item) {
  const bool local = item.starts_with("[SF:") || item.starts_with("[LS:");
  if (!local || !item.ends_with(']')) return std::nullopt;
  return item.substr(4, item.size() - 5);
}

// Refuses what the walk over the recipients would pass over or read as somebody else.
std::string CheckedItem(const std::string& word) {
  const std::string item = AsItem(Unguarded(word));
  const auto names = LocalNames(item);
  if (!names || names->find_first_of("[];") != std::string::npos) {
    throw Failure(kUsage, "recipient '" + item +
                              "' is not local: give POSTOFFICE/MAILBOX or an [SF:...] item");
  }
  static_cast<void>(SplitGroupName(*names));
  return item;
}

std::string SenderItem(const std::string& from) {
  if (from.find_first_of("\r\n") != std::string::npos) {
    throw Failure(kUsage, "the sender holds a line end; give an address without one");
  }
  if (from.empty() || from == "<>") return "[SMTP:]";
  if (from.starts_with('[') != from.ends_with(']')) {
    throw Failure(kUsage,
                  "the sender's brackets don't match; give an address, or an item such as "
                  "[SMTP:a@b.example]");
  }
  return from.starts_with('[') ? from : "[SMTP:" + from + "]";
}

void CopyStandardInput(platform::WholeFile& target, const std::string& path) {
  std::array<char, kPieceBytes> piece;
  while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), stdin)) {
    if (!target.Write({piece.data(), got})) FailToWrite(path);
  }
  if (std::ferror(stdin) != 0) {
    throw Failure(kUsage, "standard input can't be read to its end; nothing was queued, try again");
  }
}

void WriteMessageFile(const std::string& file, const std::string& path) {
  auto target = platform::WholeFile::Create(path);
  if (!target) FailToWrite(path);
  if (file == "-") {
    CopyStandardInput(target, path);
  } else {
    auto source = platform::File::Open(file, platform::Access::kRead, platform::kShareAll,
                                       platform::Disposition::kOpenExisting);
    if (!source) throw Failure(kUsage, FileTrouble(file));
    if (!target.CopyFrom(source, 0)) FailToWrite(path);
  }
  if (!target.Commit(false, platform::Durability::kDataAndName)) FailToWrite(path);
}

ConnectorMessage NewMessage(const QueueOptions& options) {
  ConnectorMessage message;
  SetText(message.Connector, kQueueConnector);
  SetText(message.MessageID, NewMessageId());
  const std::string sender = SenderItem(Unguarded(options.from));
  if (sender.size() >= sizeof(message.Sender)) {
    throw Failure(kUsage, "the sender is too long: give at most " +
                              std::to_string(sizeof(message.Sender) - 1) + " bytes");
  }
  SetText(message.Sender, sender);
  for (const std::string& item : options.to) {
    if (!message.Recipients.empty()) message.Recipients += ';';
    message.Recipients += CheckedItem(item);
  }
  message.TimeAcquired = static_cast<std::int32_t>(platform::NowSeconds());
  message.NextSendTime = message.TimeAcquired;
  SetText(message.Priority, "Normal");
  SetText(message.Status, "Unsent");
  return message;
}

}  // namespace

void SubmitMessage(const QueueOptions& options) {
  const ConnectorMessage message = NewMessage(options);
  ExpectQueue(options);
  WriteMessageFile(Unguarded(options.file),
                   OutgoingMessagePath(kQueueConnector, message.MessageID));
  if (WriteOutgoingCommandFile(message) != 1) {
    const std::int32_t error = platform::LastError();
    const std::string command = OutgoingCommandPath(kQueueConnector, message.MessageID);
    // A command file that stands all the same keeps its message.
    static_cast<void>(platform::DeleteFile(command));
    if (!platform::FileExists(command)) DeleteOutgoingMessageFile(message);
    platform::SetLastError(error);
    FailToWrite(command);
  }
  if (options.json) return PrintJson({{"messageId", message.MessageID}});
  std::printf("%s\n", message.MessageID);
}

}  // namespace corvane::cvctl
