#include "SERVICES/Library/LIBStore/FolderFlags.h"

#include <string>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexCore/ChangeFlag.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Clock.h"
#include "platform/File.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr std::string_view kCacheText = "Caches have been cached, into shared map for later write.";
constexpr std::int64_t kNotificationMilliseconds = 1000;

struct FlagFile {
  const char* name;
  std::string_view text;
};

FlagFile FileOf(FolderFlag flag) {
  switch (flag) {
    case FolderFlag::kChanged:
      return {"_CHANGE.DTY", kFolderChangedText};
    case FolderFlag::kTooBigForInsert:
      return {"_CHANGE.DTY", kCacheText};
    case FolderFlag::kCached:
      return {"_CACHE.DTY", kCacheText};
    case FolderFlag::kSubfolders:
      return {"_FOLDER.DTY", kFolderChangedText};
    case FolderFlag::kNotify:
      break;
  }
  return {"_NOTIFY.NFY", kFolderChangedText};
}

std::string PathOf(std::string_view directory, FolderFlag flag) {
  return platform::JoinPath(directory, FileOf(flag).name);
}

std::vector<std::string> FilesLike(std::string_view directory, std::string_view pattern) {
  std::vector<std::string> paths;
  platform::FileFinder finder(platform::JoinPath(directory, pattern));
  while (const auto found = finder.Next(false)) {
    paths.push_back(platform::JoinPath(directory, found->name));
  }
  return paths;
}

bool MustLookAnyway(std::string_view directory) {
  return settings::Get(settings::kIndexFilesEnabled) == 0 ||
         !platform::FileExists(platform::JoinPath(directory, "_INDEX.XML"));
}

}  // namespace

void WriteFolderFlag(std::string_view directory, FolderFlag flag) {
  const std::string path = PathOf(directory, flag);
  if (platform::FileExists(path)) return;
  auto file = platform::File::Open(path, platform::Access::kWrite, platform::kShareAll,
                                   platform::Disposition::kOpenAlways);
  // Its text is for a person who looks; the name alone does its work on a full disk too.
  if (file) static_cast<void>(file.Write(FileOf(flag).text));
}

bool IsFolderFlagSet(std::string_view directory, FolderFlag flag) {
  return platform::FileExists(PathOf(directory, flag));
}

bool TestFolderFlag(std::string_view directory, FolderFlag flag, bool remove) {
  const std::string path = PathOf(directory, flag);
  const bool set = platform::FileExists(path);
  if (set && remove) static_cast<void>(platform::DeleteFile(path));
  return set || MustLookAnyway(directory);
}

bool TestAnyFolderFlag(std::string_view directory, bool remove) {
  // The answer is known without a walk over the folder's names.
  if (!remove && MustLookAnyway(directory)) return true;
  const std::vector<std::string> flags = FilesLike(directory, "_*.DTY");
  for (const std::string& flag : flags) {
    if (remove) static_cast<void>(platform::DeleteFile(flag));
  }
  return !flags.empty() || MustLookAnyway(directory);
}

void FlagFolderForNotification(std::string_view directory, std::string_view folder) {
  WriteFolderFlag(directory, FolderFlag::kNotify);
  LogDebugF("Folder=%.*s::Folder Flagged to notify clients\n", static_cast<int>(folder.size()),
            folder.data());
}

void ClearNotificationFlags(std::string_view directory) {
  for (const std::string& flag : FilesLike(directory, "_*.NFY")) {
    platform::SleepFor(kNotificationMilliseconds);
    static_cast<void>(platform::DeleteFile(flag));
  }
}

}  // namespace corvane
