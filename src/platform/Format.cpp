#include "platform/Format.h"

#include <array>
#include <cstdio>

namespace corvane::platform {

std::string FormatTextV(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  std::array<char, 1024> buffer;
  const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  std::string text;
  if (length >= 0 && static_cast<std::size_t>(length) < buffer.size()) {
    text.assign(buffer.data(), static_cast<std::size_t>(length));
  } else if (length >= 0) {
    text.resize(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), format, again);
    text.pop_back();
  }
  va_end(again);
  return text;
}

std::string FormatText(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = FormatTextV(format, arguments);
  va_end(arguments);
  return text;
}

}  // namespace corvane::platform
