#include "message/FileAge.h"

#include "message/Calendar.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"

namespace corvane {

std::int64_t AgeOf(std::int64_t milliseconds, AgeUnit unit) {
  if (milliseconds < 0) return 0;
  std::int64_t start = ToSeconds(CalendarTime{});
  CalendarTime field = FromSeconds(start + milliseconds / 1000);
  std::int64_t years = field.year - 1601;
  std::int64_t days = years * 365 + (field.month - 1) * 30 + (field.day - 1);
  std::int64_t hours = days * 24 + field.hour;
  std::int64_t minutes = hours * 60 + field.minute;
  std::int64_t seconds = minutes * 60 + field.second;
  switch (unit) {
    case AgeUnit::kYears:
      return years;
    case AgeUnit::kMonths:
      return years * 12 + field.month;
    case AgeUnit::kDays:
      return days;
    case AgeUnit::kHours:
      return hours;
    case AgeUnit::kMinutes:
      return minutes;
    case AgeUnit::kSeconds:
      return seconds;
    case AgeUnit::kMilliseconds:
      return seconds * 1000 + milliseconds % 1000;
  }
  return 0;
}

std::int64_t FileAge(std::string_view path, AgeUnit unit) {
  std::optional<platform::FileInfo> info = platform::GetFileInfo(path);
  if (!info) return 0;
  std::int64_t written = info->lastWriteTime * 1000 + info->lastWriteNanoseconds / 1'000'000;
  return AgeOf(platform::CurrentClock().Milliseconds() - written, unit);
}

}  // namespace corvane
