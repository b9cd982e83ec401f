// Format.h -- printf into a string of any length. Any thread.
#pragma once

#include <cstdarg>
#include <string>

namespace corvane::platform {

[[nodiscard]] std::string FormatText(const char* format, ...) __attribute__((format(printf, 1, 2)));
[[nodiscard]] std::string FormatTextV(const char* format, std::va_list arguments)
    __attribute__((format(printf, 1, 0)));

}  // namespace corvane::platform
