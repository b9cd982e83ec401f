// Sha256.h -- the SHA-256 digest, for showing what a body holds.
#pragma once

#include <string>
#include <string_view>

namespace corvane::cvctl {

// 64 lower-case hexadecimal digits.
[[nodiscard]] std::string Sha256(std::string_view bytes);

}  // namespace corvane::cvctl
