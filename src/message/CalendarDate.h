// CalendarDate.h -- the date forms of index files and of calendar entries.
//
// Both read by fixed positions. False leaves `fileTime` untouched. Any thread.
#pragma once

#include <string_view>

#include "message/Calendar.h"

namespace corvane {

// "yyyy-mm-ddThh:mm:ss". Below 19 characters there is no time, below 9 or with a date that doesn't
// exist it is a failure.
bool ParseCompactDate(std::string_view text, FileTime& fileTime);

// A date of vCalendar or iCalendar: "yyyymmdd[Thhmmss]", the same with hyphens and colons, or one
// without a year ("--0412"), which gets 1604.
//
//   zone    "GMT" or "+hhmm"; empty takes what the value itself ends in
//   invert  the zone is subtracted; off, it is added
bool ParseCalendarDate(std::string_view text, FileTime& fileTime, std::string_view zone = {},
                       bool invert = false);

}  // namespace corvane
