// Dates.cpp -- every date form.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "message/CalendarDate.h"
#include "message/MessageDate.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  std::string result;
  if (corvane::ParseMessageDate(text, result) && result.size() != 19) std::abort();
  corvane::FileTime time = 0;
  corvane::ParseCompactDate(text, time);
  corvane::ParseCalendarDate(text, time);
  corvane::ParseCalendarDate(text, time, text, true);
  return 0;
}
