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

bool FlushData(const std::string& path) {
  auto file = platform::File::Open(path, platform::Access::kRead, platform::kShareAll,
                                   platform::Disposition::kOpenExisting);
  if (file) return file.Flush();
  // A client has moved or removed the message already, or holds it: its bytes are still on this
  // file system.
  const std::int32_t error = platform::LastError();
  const bool elsewhere =
      error == platform::kErrorFileNotFound || error == platform::kErrorSharingViolation;
  return elsewhere && platform::FlushFileSystems({std::string(platform::ParentPath(path))});
}

bool FlushEach(const std::vector<PendingFlush>& files) {
  std::set<std::string_view> directories;
  for (const PendingFlush& file : files) {
    if (file.data && !FlushData(file.path)) return false;
    directories.insert(platform::ParentPath(file.path));
  }
  for (std::string_view directory : directories) {
    if (!platform::FlushDirectory(directory)) return false;
  }
  return true;
}

bool FlushAll(const std::vector<PendingFlush>& files) {
  std::vector<std::string> directories;
  for (const PendingFlush& file : files) directories.emplace_back(platform::ParentPath(file.path));
  return platform::FlushFileSystems(directories);
}

// Keeps the list of a very long walk short.
bool FlushSome(ConnectorMessage& message) {
  return message.Delivered.size() < kMostPending || FlushDelivered(message);
}

}  // namespace

bool TransferToFolder(ConnectorMessage& message, const std::string& source,
                      const std::string& target) {
  if (message.LastRecipient && platform::LinkFile(source, target, false)) {
    message.Delivered.push_back({target, !message.MessageFileFlushed});
    return FlushSome(message);
  }
  if (message.LastRecipient && platform::LastError() != platform::kErrorNotSameDevice) return false;
  if (!platform::CopyFile(source, target, true, false)) return false;
  message.Delivered.push_back({target, true});
  return FlushSome(message);
}

bool TransferWithHeader(ConnectorMessage& message, const std::string& source,
                        const std::string& target, std::string_view name, std::string_view value) {
  if (!message.LastRecipient || CopyWithHeader(source, target, name, value) != 1) return false;
  message.Delivered.push_back({target, false});
  return FlushSome(message);
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
