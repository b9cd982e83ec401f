// IndexFileNames.h -- the files of a folder's index, by the folder's class.
#pragma once

#include <cstdint>
#include <string>

#include "platform/File.h"

namespace corvane {

// "_index.xml", "_groups.xml" for class 54.
[[nodiscard]] std::string IndexFilePath(const std::string& folder, std::int32_t messageClass);
// "_index.bin", "_groups.bin".
[[nodiscard]] std::string PositionFilePath(const std::string& folder, std::int32_t messageClass);
[[nodiscard]] bool IndexFileExists(const std::string& folder, std::int32_t messageClass);
// The same, up to 10 looks, 200 ms apart: it may be changing hands.
[[nodiscard]] bool WaitForIndexFile(const std::string& folder, std::int32_t messageClass);

// Opens an index file; while that fails it tries again, up to 20 times, 2 seconds apart.
// `onlyHeld`: only while somebody holds the file. `secondsWaited`, unless it is null, grows by what
// was waited.
[[nodiscard]] platform::File OpenIndexFile(const std::string& path, platform::Access access,
                                           platform::Share share, bool onlyHeld,
                                           std::int64_t* secondsWaited);
// A file's last write time in nanoseconds since 1970.
[[nodiscard]] std::int64_t WriteTimeOf(const platform::FileInfo& info);
// Its last write time in nanoseconds since 1970; 0 when it can't be told.
[[nodiscard]] std::int64_t IndexFileTime(const std::string& folder, std::int32_t messageClass);

}  // namespace corvane
