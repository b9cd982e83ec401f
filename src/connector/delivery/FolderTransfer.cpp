#include "connector/delivery/FolderTransfer.h"

#include <algorithm>
#include <set>

#include "connector/queue/Durability.h"
#include "connector/queue/SetMessageHeader.h"
#include "platform/Error.h"
#include "platform/File.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane {
namespace {

// From this many files of one walk on, one flush of the whole file system is cheaper than one each.
constexpr std::size_t kFlushAllFrom = 8;
constexpr std::size_t kMostPending = 512;

bool IsGone(std::int32_t error) {
  return error == platform::kErrorFileNotFound || error == platform::kErrorPathNotFound;
}

std::uint64_t DeviceOf(std::string_view directory) {
  const auto info = platform::GetFileInfo(directory);
  return info ? info->device : 0;
}

// The directory of the file. A client may have removed it: that is a change of the nearest parent
// that is there. Where that lies on another file system the file's own has gone: empty, then.
std::string ThereOrParent(const PendingFlush& file) {
  std::string_view directory = platform::ParentPath(file.path);
  while (!platform::DirectoryExists(directory)) {
    const std::string_view parent = platform::ParentPath(directory);
    if (parent.empty() || parent == directory) break;
    directory = parent;
  }
  const bool same = file.device == 0 || DeviceOf(directory) == file.device;
  return same ? std::string(directory) : std::string();
}

bool FlushData(const PendingFlush& pending) {
  auto file = platform::File::Open(pending.path, platform::Access::kRead, platform::kShareAll,
                                   platform::Disposition::kOpenExisting);
  if (file) return file.Flush();
  // A client has moved or removed the message already, or holds it: its bytes are still on this
  // file system.
  const std::int32_t error = platform::LastError();
  const bool elsewhere = IsGone(error) || error == platform::kErrorSharingViolation;
  return elsewhere && platform::FlushFileSystems({ThereOrParent(pending)});
}

bool FlushName(const PendingFlush& file) {
  if (platform::FlushDirectory(platform::ParentPath(file.path))) return true;
  return IsGone(platform::LastError()) && platform::FlushDirectory(ThereOrParent(file));
}

bool FlushEach(const std::vector<PendingFlush>& files) {
  std::set<std::string_view> flushed;
  for (const PendingFlush& file : files) {
    if (file.data && !FlushData(file)) return false;
  }
  return std::all_of(files.begin(), files.end(), [&flushed](const PendingFlush& file) {
    return !flushed.insert(platform::ParentPath(file.path)).second || FlushName(file);
  });
}

bool FlushAll(const std::vector<PendingFlush>& files) {
  std::vector<std::string> directories;
  for (const PendingFlush& file : files) directories.emplace_back(platform::ParentPath(file.path));
  if (!platform::FlushFileSystems(directories)) {
    if (!IsGone(platform::LastError())) return false;
    std::transform(files.begin(), files.end(), directories.begin(), ThereOrParent);
    if (!platform::FlushFileSystems(directories)) return false;
  }
  // Another worker may have been told in our place of a write that failed.
  return std::all_of(files.begin(), files.end(), [](const PendingFlush& file) {
    return !file.data || platform::DataIsWritten(file.path) || IsGone(platform::LastError());
  });
}

// Keeps the list of a very long walk short. Before a copy, so that what its folder is marked with
// is flushed with it.
bool FlushSome(ConnectorMessage& message) {
  return message.Delivered.size() < kMostPending || FlushDelivered(message);
}

void Note(ConnectorMessage& message, const std::string& path, bool data) {
  message.Delivered.push_back({path, data, DeviceOf(platform::ParentPath(path))});
}

}  // namespace

bool TransferToFolder(ConnectorMessage& message, const std::string& source,
                      const std::string& target) {
  if (!FlushSome(message)) return false;
  // A stage of the last recipient can still decide that the message stays.
  const bool links = message.LastRecipient && !message.KeepInQueue &&
                     platform::HasRightsOfNewFile(source, platform::ParentPath(target));
  if (links && platform::LinkFile(source, target, false)) {
    Note(message, target, !message.MessageFileFlushed);
    return true;
  }
  if (links && platform::LastError() != platform::kErrorNotSameDevice) return false;
  if (!platform::CopyFile(source, target, true, false)) return false;
  Note(message, target, true);
  return true;
}

bool TransferWithHeader(ConnectorMessage& message, const std::string& source,
                        const std::string& target, std::string_view name, std::string_view value) {
  if (!message.LastRecipient || !FlushSome(message)) return false;
  if (CopyWithHeader(source, target, name, value) != 1) return false;
  Note(message, target, false);
  return true;
}

void NoteNewDirectory(ConnectorMessage& message, const std::string& directory) {
  Note(message, directory, false);
}

void ForgetDelivered(ConnectorMessage& message, const std::string& target) {
  auto& files = message.Delivered;
  files.erase(std::remove_if(files.begin(), files.end(),
                             [&](const PendingFlush& file) { return file.path == target; }),
              files.end());
}

bool FlushDelivered(ConnectorMessage& message) {
  const bool few = message.Delivered.size() < kFlushAllFrom;
  const bool done =
      !DurabilityOn() || (few ? FlushEach(message.Delivered) : FlushAll(message.Delivered));
  if (done) message.Delivered.clear();
  return done;
}

}  // namespace corvane
