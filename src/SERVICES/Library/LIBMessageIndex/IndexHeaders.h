// IndexHeaders.h -- the two headers in a message file that carry what the index knows of it across
// a rebuild.
//
//   X-UID: 1700000000.12       the folder's brand and the identifier; without a brand the latter
//   X-CVTempFlags: \SEEN $Work the flag text
//
// All of it counts only with `UID Branding Enabled`; without, nothing is read or written. A change
// writes a new file, durable before it takes the message's name, so a reader, another link to the
// message or a crash meets the old file or the new one, never less. A message that was deleted,
// moved or replaced meanwhile stays so. The new file keeps the message's last write time; its size
// is another, so whoever holds SIZE of it looks again after kRewritten. A header that is as it
// should be rewrites nothing.
//
// Header names are found in any case; continuation lines go with their header. A message without an
// empty line gets new headers at its end. Any thread.
#pragma once

#include <cstdint>
#include <string_view>

namespace corvane {

enum class RewriteResult : std::uint8_t {
  kUntouched,  // nothing had to change, or branding is off
  kRewritten,
  kFailed,  // the message is as it was
};

// Writes X-UID, with the brand if that isn't 0, and X-CVTempFlags if `flags` aren't empty and the
// message has none. Failures are printed.
RewriteResult SetMessageUID(std::string_view folder, std::string_view file, std::uint32_t brand,
                            std::uint32_t uid, std::string_view flags);

// Writes X-CVTempFlags; with `dropUID` X-UID goes. Logged, with its failures.
RewriteResult SetMessageFlags(std::string_view folder, std::string_view file,
                              std::string_view flags, bool dropUID);

// Takes both headers out of the message.
RewriteResult StripIndexHeaders(std::string_view folder, std::string_view file);

// Whether the message has an X-CVTempFlags header. False also when it can't be read.
[[nodiscard]] bool HasTempFlags(std::string_view folder, std::string_view file);

}  // namespace corvane
