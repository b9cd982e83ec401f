#include "message/MessageDate.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "message/Ascii.h"
#include "message/Calendar.h"
#include "platform/Clock.h"

namespace corvane {
namespace {

constexpr std::string_view kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr const char* kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

// Minutes east of Greenwich.
struct ZoneWord {
  std::string_view name;
  int minutes;
};
constexpr ZoneWord kZoneWords[] = {
    {"EST", -300}, {"EDT", -240}, {"CST", -360}, {"CDT", -300},
    {"MST", -420}, {"MDT", -360}, {"PST", -480}, {"PDT", -420},
};

[[nodiscard]] bool IsSeparator(char c) { return IsWhiteSpace(c) || c == ':' || c == ','; }

// The text behind a weekday and its comma.
[[nodiscard]] std::string_view DropWeekday(std::string_view text) {
  std::size_t comma = FindByte(text, ',');
  if (comma == text.npos) return text;
  std::string_view before = text.substr(0, comma);
  bool isDate = std::any_of(before.begin(), before.end(), IsDigit);
  return isDate ? text : text.substr(comma + 1);
}

// Takes the next field off `rest`; `ended` tells whether a separator stood behind it.
[[nodiscard]] std::string_view TakeField(std::string_view& rest, bool& ended) {
  while (!rest.empty() && IsSeparator(rest.front())) rest.remove_prefix(1);
  std::size_t length = 0;
  while (length < rest.size() && !IsSeparator(rest[length])) ++length;
  std::string_view field = rest.substr(0, length);
  rest.remove_prefix(length);
  ended = !field.empty() && !rest.empty();
  return field;
}

// The zone is the rest of the text up to a separator that is no colon.
[[nodiscard]] std::string_view TakeZone(std::string_view rest) {
  while (!rest.empty() && IsSeparator(rest.front())) rest.remove_prefix(1);
  auto end =
      std::find_if(rest.begin(), rest.end(), [](char c) { return IsSeparator(c) && c != ':'; });
  return rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
}

// The leading digits, at most nine of them; 0 without any.
[[nodiscard]] int ReadNumber(std::string_view field) {
  int number = 0;
  for (char c : field.substr(0, 9)) {
    if (!IsDigit(c)) break;
    number = number * 10 + (c - '0');
  }
  return number;
}

[[nodiscard]] int ReadMonth(std::string_view field) {
  for (std::size_t i = 0; i < std::size(kMonths); ++i) {
    if (EqualsIgnoringCase(field, kMonths[i])) return static_cast<int>(i) + 1;
  }
  return 12;
}

[[nodiscard]] bool IsSign(char c) { return c == '+' || c == '-'; }

// Minutes of "hhmm", and of "hh:mm" and "hh", which some programs write.
[[nodiscard]] int ReadOffset(std::string_view digits) {
  std::size_t width = std::min(digits.find_first_not_of("0123456789"), digits.size());
  int number = ReadNumber(digits.substr(0, 4));
  if (width > 2) return number / 100 * 60 + number % 100;
  std::string_view rest = digits.substr(width);
  return number * 60 + (rest.starts_with(':') ? ReadNumber(rest.substr(1, 2)) : 0);
}

[[nodiscard]] int ReadZone(std::string_view zone) {
  if (!zone.empty() && IsSign(zone[0])) {
    int minutes = ReadOffset(zone.substr(1));
    return zone[0] == '-' ? -minutes : minutes;
  }
  for (const ZoneWord& word : kZoneWords) {
    if (EqualsIgnoringCase(zone, word.name)) return word.minutes;
  }
  return 0;
}

[[nodiscard]] bool ReadFields(std::string_view text, CalendarTime& time, std::string_view& zone) {
  bool ended = true;
  auto next = [&] { return TakeField(text, ended); };
  time.day = ReadNumber(next());
  time.month = ReadMonth(next());
  time.year = ReadNumber(next());
  time.hour = ReadNumber(next());
  time.minute = ReadNumber(next());
  // Without seconds, what stands in their place is the zone.
  zone = TakeZone(text);
  if (!zone.empty() && IsSign(zone[0])) return true;
  time.second = ReadNumber(next());
  if (!ended || !IsWhiteSpace(text.front())) return false;
  zone = TakeZone(text);
  return true;
}

void BringIntoRange(CalendarTime& time) {
  if (time.year < 1901) time.year += 2000;
  if (time.hour > 24) time.hour = 0;
  if (time.minute > 59) time.minute = 0;
  if (time.second > 59) time.second = 0;
  if (time.day < 1 || time.day > 31) time.day = 1;
}

}  // namespace

std::string FormatMessageDate() {
  platform::LocalTime now = platform::ToLocalTime(platform::NowSeconds());
  int offset = std::abs(now.offsetMinutes);
  char text[64];
  std::snprintf(text, sizeof(text), "%s, %d %s %04d %02d:%02d:%02d %c%02d%02d",
                kWeekdays[now.weekday], now.day, kMonths[now.month - 1].data(), now.year, now.hour,
                now.minute, now.second, now.offsetMinutes < 0 ? '-' : '+', offset / 60,
                offset % 60);
  return text;
}

bool ParseMessageDate(std::string_view text, std::string& result) {
  CalendarTime fields;
  std::string_view zone;
  if (!ReadFields(DropWeekday(text), fields, zone)) return false;
  BringIntoRange(fields);
  CalendarTime time = FromSeconds(ToSeconds(fields) - ReadZone(zone) * 60);
  if (time.year > 9999) {
    time = fields;
    if (time.year > 9999) time.year = 1601;
  }
  char form[64];
  std::snprintf(form, sizeof(form), "%04d-%02d-%02dT%02d:%02d:%02d", time.year, time.month,
                time.day, time.hour, time.minute, time.second);
  result = form;
  return true;
}

}  // namespace corvane
