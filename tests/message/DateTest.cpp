// Dates of headers, index files and calendars, and the age of files.
#include <gtest/gtest.h>

#include "message/Calendar.h"
#include "message/CalendarDate.h"
#include "message/FileAge.h"
#include "message/MessageDate.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TimeZone.h"

namespace corvane::test {
namespace {

struct DateCase {
  std::string_view name, text;
  std::string_view result;  // empty: a failure
};
const DateCase kDates[] = {
    {"WithZone", "1 Jan 2023 10:00:00 +0200", "2023-01-01T08:00:00"},
    {"WithWeekday", "Sun, 1 Jan 2023 10:00:00 +0200", "2023-01-01T08:00:00"},
    {"WestOfGreenwich", "31 Dec 2022 22:30:15 -0230", "2023-01-01T01:00:15"},
    {"Gmt", "1 Jan 2023 10:00:00 GMT", "2023-01-01T10:00:00"},
    {"ZoneWord", "1 Jan 2023 10:00:00 EST", "2023-01-01T15:00:00"},
    {"OtherWordIsUtc", "1 Jan 2023 10:00:00 Z", "2023-01-01T10:00:00"},
    {"CommentBehindTheZone", "1 Jan 2023 10:00:00 +0200 (CEST)", "2023-01-01T08:00:00"},
    {"NoZone", "1 Jan 2023 10:00:00 ", "2023-01-01T10:00:00"},
    {"NothingBehindTheSeconds", "1 Jan 2023 10:00:00", ""},
    {"NoSecondsButAZone", "1 Jan 2023 10:00 +0200", "2023-01-01T08:00:00"},
    {"ZoneWithColon", "1 Jan 2023 10:00:00 -02:30", "2023-01-01T12:30:00"},
    {"ZoneOfHoursAlone", "1 Jan 2023 10:00:00 +02 x", "2023-01-01T08:00:00"},
    {"ZoneOfOneHourDigit", "1 Jan 2023 10:00:00 +2:00", "2023-01-01T08:00:00"},
    {"NoSeconds", "1 Jan 2023 10:00 ", ""},
    {"NoTime", "1 Jan 2023", ""},
    {"Empty", "", ""},
    {"TwoDigitYear", "1 Jan 23 10:00:00 GMT", "2023-01-01T10:00:00"},
    {"Nineties", "1 Jan 99 10:00:00 GMT", "2099-01-01T10:00:00"},
    {"BeforeTheEpoch", "1 Jan 1950 10:00:00 +0200", "1950-01-01T08:00:00"},
    {"AnyCaseOfMonth", "5 nOV 2023 10:00:00 GMT", "2023-11-05T10:00:00"},
    {"OtherMonthIsDecember", "5 Foo 2023 10:00:00 GMT", "2023-12-05T10:00:00"},
    {"TimeOutOfRange", "5 Feb 2023 25:60:61 GMT", "2023-02-05T00:00:00"},
    {"DayOutOfRange", "32 Feb 2023 10:00:00 GMT", "2023-02-01T10:00:00"},
    {"DayThatTheMonthLacks", "31 Feb 2023 10:00:00 GMT", "2023-03-03T10:00:00"},
    {"HourTwentyFour", "5 Feb 2023 24:00:00 GMT", "2023-02-06T00:00:00"},
    {"YearTooLarge", "5 Feb 12023 10:00:00 +0100", "1601-02-05T10:00:00"},
    {"CommaBehindTheYear", "5 Feb 2023, 10:00:00 GMT", "2023-02-05T10:00:00"},
    {"ManyBlanks", "Sun,  5   Feb\t2023  10:00:00   +0000", "2023-02-05T10:00:00"},
};

TEST(ParseMessageDate, Cases) {
  for (const DateCase& c : kDates) {
    std::string result;
    EXPECT_EQ(ParseMessageDate(c.text, result), !c.result.empty()) << c.name;
    EXPECT_EQ(result, c.result) << c.name;
  }
}

// "yyyy-mm-dd hh:mm:ss", with another sign in the middle if need be.
std::string Show(const CalendarTime& t, char between = ' ') {
  char text[64];
  std::snprintf(text, sizeof(text), "%04d-%02d-%02d%c%02d:%02d:%02d", t.year, t.month, t.day,
                between, t.hour, t.minute, t.second);
  return text;
}
std::string ShowFileTime(FileTime time) { return Show(FromSeconds(FileTimeToSeconds(time))); }

TEST(FormatMessageDate, IsLocalTimeWithItsZone) {
  const struct {
    const char* zone;
    std::int64_t now;
    std::string_view date;
  } kZones[] = {
      {"UTC0", 1'672'736'707, "Tue, 3 Jan 2023 09:05:07 +0000"},
      {"XXX-1", 1'672'736'707, "Tue, 3 Jan 2023 10:05:07 +0100"},
      {"XXX-5:45", 1'672'736'707, "Tue, 3 Jan 2023 14:50:07 +0545"},
      {"XXX3:30", 1'672'736'707, "Tue, 3 Jan 2023 05:35:07 -0330"},
      {"XXX0:30", 1'672'736'707, "Tue, 3 Jan 2023 08:35:07 -0030"},
      {"XXX10", 1'704'067'200, "Sun, 31 Dec 2023 14:00:00 -1000"},
      {"XXX-1YYY,M3.5.0,M10.5.0/3", 1'690'000'000, "Sat, 22 Jul 2023 06:26:40 +0200"},
  };
  for (const auto& c : kZones) {
    const TimeZone zone(c.zone);
    platform::VirtualClock clock(c.now);
    platform::Clock* before = platform::SetClock(&clock);
    std::string date = FormatMessageDate();
    platform::SetClock(before);
    EXPECT_EQ(date, c.date);
    std::string utc;
    EXPECT_TRUE(ParseMessageDate(date + " ", utc));
    EXPECT_EQ(utc, Show(FromSeconds(c.now), 'T'));
  }
}

TEST(ParseCompactDate, Cases) {
  const DateCase kCases[] = {
      {"DateAndTime", "2023-02-05T10:11:12", "2023-02-05 10:11:12"},
      {"DateAlone", "2023-02-05", "2023-02-05 00:00:00"},
      {"OneDigitOfDay", "2023-02-5", "2023-02-05 00:00:00"},
      {"TimeCutShort", "2023-02-05T10:11:1", "2023-02-05 00:00:00"},
      {"TooShort", "2023-02-", ""},
      {"NoSuchDay", "2023-02-30T10:11:12", ""},
      {"BeforeItsTime", "1600-02-03T10:11:12", ""},
  };
  for (const DateCase& c : kCases) {
    FileTime time = 0;
    bool result = ParseCompactDate(c.text, time);
    EXPECT_EQ(result ? ShowFileTime(time) : "", c.result) << c.name;
  }
}

TEST(ParseCalendarDate, Cases) {
  const struct {
    std::string_view name, text, zone;
    bool invert;
    std::string_view result;
  } kCases[] = {
      {"Basic", "20230205T101112Z", "", false, "2023-02-05 10:11:12"},
      {"DateAlone", "20230205", "", false, "2023-02-05 00:00:00"},
      {"WithHyphens", "2023-02-05T10:11:12", "", false, "2023-02-05 10:11:12"},
      {"NoYear", "--0412", "", false, "1604-04-12 00:00:00"},
      {"NoYearOneHyphen", "-0412", "", false, "1604-04-12 00:00:00"},
      {"NoYearWithTime", "-0412T101112", "", false, "1604-04-12 10:11:12"},
      {"OwnZoneIsAdded", "20230205T101112+0130", "", false, "2023-02-05 11:41:12"},
      {"OwnZoneWithColon", "2023-02-05T10:11:12+01:30", "", false, "2023-02-05 11:41:12"},
      {"OwnZoneInverted", "20230205T101112+0130", "", true, "2023-02-05 08:41:12"},
      {"GivenZone", "20230205T101112", "-0100", false, "2023-02-05 09:11:12"},
      {"GivenZoneInverted", "20230205T101112", "-0100", true, "2023-02-05 11:11:12"},
      {"GivenGmtHidesOwnZone", "20230205T101112+0130", "GMT", false, "2023-02-05 10:11:12"},
      {"FirstDigitZero", "0230205T101112", "", false, ""},
      {"FirstDigitFive", "50230205", "", false, ""},
      {"NoSuchMonth", "20231305", "", false, ""},
      {"Empty", "", "", false, ""},
  };
  for (const auto& c : kCases) {
    FileTime time = 0;
    bool result = ParseCalendarDate(c.text, time, c.zone, c.invert);
    EXPECT_EQ(result ? ShowFileTime(time) : "", c.result) << c.name;
  }
}

TEST(Calendar, DaysGoRoundFrom1601On) {
  CalendarTime day{};
  int weekday = 1;  // 1 January 1601 was a Monday
  for (std::int64_t seconds = ToSeconds(day); day.year < 2401; seconds += 86400) {
    day = FromSeconds(seconds);
    ASSERT_EQ(ToSeconds(day), seconds);
    ASSERT_TRUE(IsValidTime(day));
    ASSERT_EQ(DayOfWeek(day.year, day.month, day.day), weekday);
    weekday = (weekday + 1) % 7;
  }
}

TEST(Calendar, NthWeekday) {
  EXPECT_EQ(NthWeekday(2023, 3, 0, 2), 12);   // second Sunday
  EXPECT_EQ(NthWeekday(2023, 10, 0, 0), 29);  // last Sunday
  EXPECT_EQ(NthWeekday(2023, 10, 0, 5), 29);
  EXPECT_EQ(NthWeekday(2023, 2, 3, 5), 22);  // the fifth Wednesday isn't there
  EXPECT_EQ(DaysInMonth(2000, 2), 29);
  EXPECT_EQ(DaysInMonth(1900, 2), 28);
  EXPECT_EQ(DaysInMonth(2023, 13), 0);
}

TEST(FileAge, CountsMonthsOfThirtyDaysSinceTheLastWrite) {
  constexpr std::int64_t kDay = 86'400;
  const struct {
    std::int64_t secondsAgo;
    std::int64_t ages[8];
  } kAges[] = {
      {0, {0, 0, 1, 0, 0, 0, 0, 0}},
      {kDay, {0, 0, 1, 1, 24, 1440, kDay, kDay * 1000}},
      {90'061, {0, 0, 1, 1, 25, 1501, 90'061, 90'061'000}},
      {31 * kDay, {0, 0, 2, 30, 720, 43200, 2592000, 30 * kDay * 1000}},
      {365 * kDay, {0, 1, 13, 365, 8760, 525600, 31536000, 365 * kDay * 1000}},
  };
  TemporaryDirectory directory;
  std::string path = directory / "file.txt";
  WriteBytes(path, "x");
  platform::VirtualClock clock;
  platform::Clock* before = platform::SetClock(&clock);
  for (const auto& c : kAges) {
    ASSERT_TRUE(platform::SetLastWriteTime(path, platform::NowSeconds() - c.secondsAgo));
    for (int unit = 0; unit < 8; ++unit) {
      SCOPED_TRACE(std::to_string(c.secondsAgo) + " seconds, unit " + std::to_string(unit));
      EXPECT_EQ(AgeOf(c.secondsAgo * 1000, static_cast<AgeUnit>(unit)), c.ages[unit]);
      EXPECT_EQ(FileAge(path, static_cast<AgeUnit>(unit)), c.ages[unit]);
    }
  }
  ASSERT_TRUE(platform::SetLastWriteTime(path, platform::NowSeconds() + 60));
  for (int unit = 0; unit < 8; ++unit) {
    EXPECT_EQ(FileAge(path, static_cast<AgeUnit>(unit)), 0) << "in the future, unit " << unit;
  }
  EXPECT_EQ(FileAge(directory / "none.txt", AgeUnit::kSeconds), 0);
  platform::SetClock(before);
}

}  // namespace
}  // namespace corvane::test
