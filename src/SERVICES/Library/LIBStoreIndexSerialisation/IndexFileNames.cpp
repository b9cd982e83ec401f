#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"

#include "SERVICES/Library/LIBStoreIndexCore/IndexFiles.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"

namespace corvane {
namespace {

constexpr int kLooks = 10;
constexpr std::int64_t kLookWaitMilliseconds = 200;
constexpr int kOpenRetries = 20;
constexpr std::int64_t kOpenWaitSeconds = 2;
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

platform::File OpenIndexFile(const std::string& path, platform::Access access,
                             platform::Share share, bool onlyHeld, std::int64_t* secondsWaited) {
  for (int retries = 0;; ++retries) {
    auto file = platform::File::Open(path, access, share, platform::Disposition::kOpenExisting);
    const bool hopeless = onlyHeld && platform::LastError() != platform::kErrorSharingViolation;
    if (file || hopeless || retries == kOpenRetries) return file;
    platform::SleepFor(kOpenWaitSeconds * 1000);
    if (secondsWaited != nullptr) *secondsWaited += kOpenWaitSeconds;
  }
}

std::int64_t WriteTimeOf(const platform::FileInfo& info) {
  return info.lastWriteTime * kNanosecondsInSecond + info.lastWriteNanoseconds;
}

std::int64_t IndexFileTime(const std::string& folder, std::int32_t messageClass) {
  const auto info = platform::GetFileInfo(IndexFilePath(folder, messageClass));
  return info ? WriteTimeOf(*info) : 0;
}

}  // namespace corvane
