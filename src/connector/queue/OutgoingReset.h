// OutgoingReset.h -- puts a command file back to Unsent when the connector starts.
#pragma once

#include <cstdint>

namespace corvane {

// Resets `<directory>\<fileName>` when it is this node's, nobody's (no Server= line at all), or was
// acquired at least `resetMinutes` minutes ago: unsent, due now, no retries, no owner, acquired
// now. A message of another live node stays as it is, and so does one that a worker of any node
// holds just now. Every line is kept but the empty ones; keys count at the start of a line only.
//
// Looks without a claim (one try); rewrites under one, with up to 10 tries 2 seconds apart, from
// the text that it finds then. A crash leaves the old text or the new one.
//
// 1  the file holds a Status= line
// 0  it doesn't, or it could not be read
std::int32_t ResetOutgoingCommandFile(const char* directory, const char* fileName,
                                      const char* serverName, std::uint32_t resetMinutes);

// Resets `<directory>\\<fileName>` whoever owns it and however young it is, for an administrator's
// word; one try. False with platform::LastError(): 2 there is none, 32 a worker or a reader holds
// it just now, 1392 it has no Status= line.
[[nodiscard]] bool ForceOutgoingReset(const char* directory, const char* fileName);

}  // namespace corvane
