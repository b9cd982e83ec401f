#include "SERVICES/Library/LIBFileLock/FileOpener.h"

#include <optional>

#include "platform/Clock.h"
#include "platform/Error.h"

namespace corvane {
namespace {

constexpr std::int64_t kPauseMilliseconds = 1000;

std::optional<platform::TextMode> ModeOf(const std::string& mode) {
  if (mode == "r" || mode == "rt") return platform::TextMode::kRead;
  if (mode == "w" || mode == "wt") return platform::TextMode::kWrite;
  if (mode == "a" || mode == "at") return platform::TextMode::kAppend;
  return std::nullopt;
}

platform::Share ShareOf(platform::TextMode mode, std::int32_t secure) {
  if (secure == 0) return platform::kShareReadWrite;
  return mode == platform::TextMode::kRead ? platform::kShareRead : platform::kShareNone;
}

}  // namespace

FileOpener::FileOpener(const std::string& path, const std::string& mode, std::int32_t secure)
    : Mode(mode), Path(path), Secure(secure) {
  const auto textMode = ModeOf(mode);
  if (!textMode) {
    LastError = platform::kErrorInvalidParameter;
    return;
  }
  File = platform::TextFile::Open(path, *textMode, ShareOf(*textMode, secure));
  if (File.IsOpen()) return;
  LastError = platform::LastError();
  if (LastError != platform::kErrorFileNotFound) platform::SleepFor(kPauseMilliseconds);
}

}  // namespace corvane
