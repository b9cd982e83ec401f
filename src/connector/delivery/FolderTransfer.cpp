#include "connector/delivery/FolderTransfer.h"

#include <set>

#include "connector/queue/Durability.h"
#include "platform/Error.h"
#include "platform/File.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane {
namespace {

// From this many files of one walk on, one flush of the whole file system is cheaper than one each.
constexpr std::size_t kFlushAllFrom = 8;

bool FlushData(const std::string& path) {
  auto file = platform::File::Open(path, platform::Access::kRead, platform::kShareAll,
                                   platform::Disposition::kOpenExisting);
  // A client may have removed or moved the message already; somebody who holds it has read it.
  if (!file) {
    const std::int32_t error = platform::LastError();
    return error == platform::kErrorFileNotFound || error == platform::kErrorSharingViolation;
  }
  return file.Flush();
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
  for (const PendingFlush& file : files) {
    if (!platform::FlushFileSystem(platform::ParentPath(file.path))) return false;
  }
  return true;
}

}  // namespace

bool TransferToFolder(ConnectorMessage& message, const std::string& source,
                      const std::string& target) {
  if (message.LastRecipient && platform::LinkFile(source, target, false)) {
    message.Delivered.push_back({target, false});
    return true;
  }
  if (message.LastRecipient && platform::LastError() != platform::kErrorNotSameDevice) return false;
  if (!platform::CopyFile(source, target, true, false)) return false;
  message.Delivered.push_back({target, true});
  return true;
}

bool FlushDelivered(ConnectorMessage& message) {
  if (!DurabilityOn() || message.Delivered.empty()) return true;
  const bool done = message.Delivered.size() < kFlushAllFrom ? FlushEach(message.Delivered)
                                                             : FlushAll(message.Delivered);
  if (done) message.Delivered.clear();
  return done;
}

}  // namespace corvane
