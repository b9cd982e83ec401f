// MessageDate.h -- the date form of message headers (RFC 5322).
//
// Any thread.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// Now, in local time: "Tue, 3 Jan 2023 09:05:07 +0100".
[[nodiscard]] std::string FormatMessageDate();

// Turns a header date into "2023-01-03T08:05:07", in UTC when it names a zone ("+hhmm", also
// "+hh:mm" and "+hh", or a zone word of RFC 5322; any other word counts as UTC).
//
// A weekday may stand in front. Fields are separated by blanks, colons and commas. Out of range, a
// time field is 0, a day is 1; a month that isn't known is December; a year below 1901 has 2000
// added. The seconds may be missing where a "+hhmm" stands in their place. False, with `result`
// untouched, when the date ends before the blank behind its seconds.
bool ParseMessageDate(std::string_view text, std::string& result);

}  // namespace corvane
