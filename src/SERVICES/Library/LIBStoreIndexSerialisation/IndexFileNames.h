// IndexFileNames.h -- the files of a folder's index, by the folder's class.
#pragma once

#include <cstdint>
#include <string>

namespace corvane {

// "_index.xml", "_groups.xml" for class 54.
[[nodiscard]] std::string IndexFilePath(const std::string& folder, std::int32_t messageClass);
// "_index.bin", "_groups.bin".
[[nodiscard]] std::string PositionFilePath(const std::string& folder, std::int32_t messageClass);
[[nodiscard]] bool IndexFileExists(const std::string& folder, std::int32_t messageClass);
// The same, up to 10 looks, 200 ms apart: it may be changing hands.
[[nodiscard]] bool WaitForIndexFile(const std::string& folder, std::int32_t messageClass);
// Its last write time in nanoseconds since 1970; 0 when it can't be told.
[[nodiscard]] std::int64_t IndexFileTime(const std::string& folder, std::int32_t messageClass);

}  // namespace corvane
