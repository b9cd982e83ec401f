// DirectoryFlush.h -- makes the names in directories durable, one flush for all who meet. Inside
// the layer only; FlushDirectory of FileSystem.h is the way in.
#pragma once

#include <cstdint>
#include <string>

namespace corvane::platform {

// `path` is a system path as it is on disk; an error number, 0 when it is done. Whoever comes while
// a flush of that directory is under way waits for the next one, which serves all who came. Any
// thread.
[[nodiscard]] std::int32_t FlushSystemDirectory(const std::string& path);

// Flushes made so far in this process, for tests and benches.
[[nodiscard]] std::uint64_t DirectoryFlushes();

}  // namespace corvane::platform
