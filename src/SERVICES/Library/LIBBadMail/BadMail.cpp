#include "SERVICES/Library/LIBBadMail/BadMail.h"

#include "CLIENTS/CVMAPI/CVMSLIB/common/Identifiers.h"
#include "SERVICES/Library/LIBBadMail/SetMessageFileHeader.h"
#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/queue/Durability.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"
#include "platform/File.h"
#include "platform/FileSystem.h"

namespace corvane {
namespace {

constexpr const char* kReasonHeader = "X-CV-BADMAIL";

enum class Outcome : std::uint8_t {
  kDone,
  kNoMessage,  // the queue has no message file: there is nothing that could be kept
  kFailed      // bad mail can't be written; platform::LastError() tells why
};

// The two files of one message in a directory.
struct FilePair {
  FilePair(const std::string& where, const std::string& name)
      : directory(where), command(where + "\\" + name), message(where + "\\Messages\\" + name) {}
  std::string directory;
  std::string command;
  std::string message;
};

bool FlushBytes(const std::string& path) {
  auto file = platform::File::Open(path, platform::Access::kRead, platform::kShareAll,
                                   platform::Disposition::kOpenExisting);
  return file && file.Flush();
}

bool Flush(const FilePair& pair) {
  return !DurabilityOn() || (FlushBytes(pair.message) && FlushBytes(pair.command) &&
                             platform::FlushDirectory(pair.directory + "\\Messages") &&
                             platform::FlushDirectory(pair.directory));
}

// A second name for the file, which works on a full disk too; a copy where the file can't have
// one, or where the queue keeps its own. Not durable yet; on failure `to` is as it was.
bool Place(const std::string& from, const std::string& to, bool copyOnly) {
  if (!copyOnly && platform::LinkFile(from, to, false)) return true;
  if (!copyOnly && platform::LastError() != platform::kErrorNotSameDevice) return false;
  return platform::CopyFile(from, to, true, false);
}

void DeleteKeepingError(const std::string& path) {
  const std::int32_t error = platform::LastError();
  static_cast<void>(platform::DeleteFile(path));
  platform::SetLastError(error);
}

// A bad mail directory that was never made, or was cleared away, is made.
bool MakeDirectories(const std::string& badMail) {
  if (!badMail.empty()) return platform::CreateDirectories(badMail + "\\Messages");
  platform::SetLastError(platform::kErrorPathNotFound);
  return false;
}

Outcome PlaceBoth(const FilePair& queue, const FilePair& bad, bool copyOnly) {
  if (!platform::FileExists(queue.message)) return Outcome::kNoMessage;
  if (!Place(queue.command, bad.command, copyOnly)) return Outcome::kFailed;
  const bool placed = Place(queue.message, bad.message, copyOnly);
  if (placed && Flush(bad)) return Outcome::kDone;
  const bool gone = !placed && platform::LastError() == platform::kErrorFileNotFound;
  if (placed) DeleteKeepingError(bad.message);
  DeleteKeepingError(bad.command);
  return gone ? Outcome::kNoMessage : Outcome::kFailed;
}

Outcome PutFiles(const std::string& queueDirectory, const std::string& fileName,
                 std::string_view reason, bool copyOnly, bool overwrite) {
  const std::string badMail = settings::Get(settings::kBadMailDirectory);
  if (!MakeDirectories(badMail)) return Outcome::kFailed;
  const bool rename = !overwrite && platform::FileExists(FilePair(badMail, fileName).command);
  const FilePair bad(badMail, rename ? NewMessageId() : fileName);
  const FilePair queue(queueDirectory, fileName);
  const Outcome outcome = PlaceBoth(queue, bad, copyOnly);
  if (outcome != Outcome::kDone) return outcome;
  // A message without its reason is better kept than lost; the console has the failure.
  if (!reason.empty()) {
    static_cast<void>(SetMessageFileHeader(bad.message, kReasonHeader, reason, true));
  }
  if (copyOnly) return Outcome::kDone;
  // What can't be deleted here is deleted with the rest of the queue's files after the walk.
  static_cast<void>(platform::DeleteFile(queue.message));
  static_cast<void>(platform::DeleteFile(queue.command));
  return Outcome::kDone;
}

Outcome PutInBadMail(const std::string& queueDirectory, const std::string& fileName,
                     std::string_view reason, bool copyOnly, bool overwrite) {
  return ReportAndRethrow(
      "MoveMessageFromQueueToBadMail", SourcePlace{"LIBBadMail", __LINE__},
      [&] { return PutFiles(queueDirectory, fileName, reason, copyOnly, overwrite); });
}

// What a failure means for a message that its worker is about to delete.
std::int32_t PutAway(const std::string& queueDirectory, ConnectorMessage& message,
                     std::string_view reason, bool copyOnly) {
  if (PutInBadMail(queueDirectory, message.MessageID, reason, copyOnly, true) == Outcome::kFailed) {
    message.KeepInQueue = true;
    LogDebugF("[%s] Bad mail could not be written (error %d). The message stays in the queue.\n",
              message.MessageID, platform::LastError());
  }
  return 1;
}

}  // namespace

std::int32_t SystemOutboundMoveToBadMail(const std::string& queueDirectory,
                                         ConnectorMessage& message, std::string_view reason) {
  return ReportAndRethrow("SystemOutboundMoveToBadMail", SourcePlace{"LIBBadMail", __LINE__},
                          [&] { return PutAway(queueDirectory, message, reason, false); });
}

std::int32_t SystemOutboundCopyToBadMail(const std::string& queueDirectory,
                                         ConnectorMessage& message, std::string_view reason) {
  return ReportAndRethrow("SystemOutboundCopyToBadMail", SourcePlace{"LIBBadMail", __LINE__},
                          [&] { return PutAway(queueDirectory, message, reason, true); });
}

std::int32_t MoveMessageFromQueueToBadMail(const std::string& queueDirectory,
                                           const std::string& fileName, std::string_view reason,
                                           bool copyOnly, bool overwrite) {
  static_cast<void>(PutInBadMail(queueDirectory, fileName, reason, copyOnly, overwrite));
  return 1;
}

}  // namespace corvane
