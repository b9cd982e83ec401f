// DirectoryFlush.h -- makes the names in directories durable. Inside the layer only;
// FlushDirectory of FileSystem.h is the way in.
#pragma once

#include <cstdint>
#include <string>

namespace corvane::platform {

// `path` is a system path as it is on disk; an error number, 0 when it is done. Any thread; callers
// that meet don't wait for each other, which a journal turns into one write for all of them.
[[nodiscard]] std::int32_t FlushSystemDirectory(const std::string& path);

}  // namespace corvane::platform
