#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"

#include "SERVICES/Library/LIBStoreIndexCore/IndexFiles.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"

namespace corvane {
namespace {

constexpr int kLooks = 10;
constexpr std::int64_t kLookWaitMilliseconds = 200;
constexpr std::int64_t kNanosecondsInSecond = 1'000'000'000;

}  // namespace

std::string IndexFilePath(const std::string& folder, std::int32_t messageClass) {
  return folder + (messageClass == kClassGroups ? "\\_groups.xml" : "\\_index.xml");
}

std::string PositionFilePath(const std::string& folder, std::int32_t messageClass) {
  return folder + (messageClass == kClassGroups ? "\\_groups.bin" : "\\_index.bin");
}

bool IndexFileExists(const std::string& folder, std::int32_t messageClass) {
  return platform::FileExists(IndexFilePath(folder, messageClass));
}

bool WaitForIndexFile(const std::string& folder, std::int32_t messageClass) {
  for (int looks = 1; !IndexFileExists(folder, messageClass); ++looks) {
    if (looks == kLooks) return false;
    platform::SleepFor(kLookWaitMilliseconds);
  }
  return true;
}

std::int64_t IndexFileTime(const std::string& folder, std::int32_t messageClass) {
  const auto info = platform::GetFileInfo(IndexFilePath(folder, messageClass));
  return info ? info->lastWriteTime * kNanosecondsInSecond + info->lastWriteNanoseconds : 0;
}

}  // namespace corvane
