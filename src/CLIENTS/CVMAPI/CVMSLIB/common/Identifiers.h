// Identifiers.h -- names of new messages and of this server.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace corvane {

// A new message id: 32 upper-case hexadecimal digits of a new identifier, a point and "MAI".
inline constexpr std::size_t kMessageIdBytes = 36;
[[nodiscard]] std::string NewMessageId();

// The same into `buffer`. 1, or 0 with an empty buffer when its `size` bytes don't hold the id and
// its NUL.
std::int32_t NewMessageId(char* buffer, std::size_t size);

// This computer's name, cut to what `size` bytes hold with the NUL. 1, or 0 for a size of 0.
std::int32_t GetServerName(char* buffer, std::size_t size);

}  // namespace corvane
