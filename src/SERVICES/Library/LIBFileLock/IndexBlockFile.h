// IndexBlockFile.h -- the lock of a folder's index, "_index.blk" beside it.
//
// The same idea as BlockFile.h with waits of its own: a block file is taken from whoever has it
// after 60 seconds, and one that was left behind goes after the first second when "Index Unblock
// Mode" is on. Any thread, any program.
#pragma once

#include <cstdint>
#include <string>

#include "platform/File.h"

namespace corvane {

// Takes the lock. With `keepHandle` 1 the file stays open, in `handleOut`, and can't be taken away;
// otherwise `handleOut` (which may be null) is left closed.
//
// 1  the lock is ours
// 0  the path can't be (3, 123, 206), or the lock could not be taken away from its holder
[[nodiscard]] std::int32_t WaitForAccessToIndexFileEx(const std::string& fileName,
                                                      std::int32_t keepHandle,
                                                      platform::File* handleOut);
[[nodiscard]] std::int32_t WaitForAccessToIndexFile(const std::string& fileName);

// Gives it back: deletes the file and closes `handle` when `closeHandle` is 1; without that, or
// where it doesn't help, with up to 80 further tries a second apart. 1 when this deleted it, else
// 0: it was gone, or is another's.
std::int32_t UnBlockIndexFileAccessEx(const std::string& fileName, std::int32_t closeHandle,
                                      platform::File* handle);
std::int32_t UnBlockIndexFileAccess(const std::string& fileName);

}  // namespace corvane
