// Advice.h -- what to do about a failed call of the system, for the end of an error line.
#pragma once

#include <cstdint>
#include <string>

namespace corvane::cvctl {

// What to do about a platform error: "make room on the disk and try again" and the like.
[[nodiscard]] const char* Advice(std::int32_t error);

// "The system cannot find the path specified; make the directory" of platform error 3, and the
// like.
[[nodiscard]] std::string WithAdvice(std::int32_t error);

// The same behind the path of a file that somebody named and that can't be read or written, by the
// calling thread's last error.
[[nodiscard]] std::string FileTrouble(const std::string& path);

}  // namespace corvane::cvctl
