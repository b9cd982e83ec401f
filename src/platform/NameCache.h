// NameCache.h -- what is known of the names in directories: listings and remembered spellings.
// Inside the layer only.
//
// A listing holds every name of a directory but those of messages, and is good as long as the
// directory hasn't changed since. One that was read so soon after a change that the next change
// could bear the same time serves its reader only. All listings together stay below
// kListingBytes, the remembered spellings below kRememberedCount; the least recently used go
// first. Any thread.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvane::platform::names {

inline constexpr std::size_t kListingBytes = std::size_t{4} << 20;
inline constexpr std::size_t kRememberedCount = 4096;

// The name in `directory` (state `known`) that equals `name` in any case: the same spelling if it
// is there, else the first in byte order. Nothing when there is none or the directory can't be
// read.
[[nodiscard]] std::optional<std::string> FindInListing(const std::string& directory,
                                                       const struct stat& known,
                                                       std::string_view name);

// The path under which `path` was found before. To be checked: it may have gone since.
[[nodiscard]] std::optional<std::string> Remembered(const std::string& path);
void Remember(const std::string& path, const std::string& onDisk);
void Forget(const std::string& path);

// What look-ups have cost so far in this process, for tests and benches.
struct LookupCounters {
  std::uint64_t looks = 0;        // questions to the system about one path
  std::uint64_t listings = 0;     // directories read
  std::uint64_t listedNames = 0;  // names read from them
};
[[nodiscard]] LookupCounters Counters();
void CountLook();

}  // namespace corvane::platform::names
