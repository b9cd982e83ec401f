#include "SERVICES/Library/LIBMessageIndex/FolderDetailsFile.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"
#include "platform/File.h"
#include "platform/Path.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

static_assert(std::endian::native == std::endian::little, "the words are written as they stand");

std::string DetailsPath(std::string_view directory) {
  return platform::JoinPath(directory, "_FOLDER.DAT");
}

void LimitTo(std::uint32_t most, std::uint32_t& count) {
  const auto value = static_cast<std::int32_t>(count);
  count = value < 0 ? 0 : std::min(count, most);
}

}  // namespace

void NormaliseFolderDetails(FolderDetails& details) {
  LimitTo(INT32_MAX, details.TotalCount);
  for (std::uint32_t* count : {&details.DeletedCount, &details.AnsweredCount, &details.SeenCount,
                               &details.RecentCount, &details.Reserved9}) {
    LimitTo(details.TotalCount, *count);
  }
}

bool ReadFolderDetailsFile(std::string_view directory, FolderDetails& details) {
  if (settings::Get(settings::kIndexFilesEnabled) != 1) return false;
  const std::string path = DetailsPath(directory);
  details = FolderDetails();
  auto file = platform::File::Open(path, platform::Access::kRead, platform::kShareAll,
                                   platform::Disposition::kOpenExisting);
  if (!file) {
    if (platform::LastError() != platform::kErrorFileNotFound) {
      LogDebugF("Cache File: %s could not be opened. Error: %ld\n", path.c_str(),
                static_cast<long>(platform::LastError()));
    }
    return false;
  }
  FolderDetails read;
  if (file.Read(&read, sizeof(read)) != static_cast<std::int64_t>(sizeof(read))) return false;
  NormaliseFolderDetails(read);
  details = read;
  return true;
}

bool WriteFolderDetailsFile(std::string_view directory, FolderDetails& details) {
  NormaliseFolderDetails(details);
  const std::string path = DetailsPath(directory);
  const std::string_view bytes(reinterpret_cast<const char*>(&details), sizeof(details));
  if (platform::WriteWholeFile(path, bytes, true, platform::Durability::kNone)) return true;
  LogDebugF("Cache File: %s could not be written. Error: %d\n", path.c_str(),
            platform::LastError());
  return false;
}

}  // namespace corvane
