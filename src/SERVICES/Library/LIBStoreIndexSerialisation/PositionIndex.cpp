#include "SERVICES/Library/LIBStoreIndexSerialisation/PositionIndex.h"

#include <cstdio>
#include <cstring>

#include "platform/FileSystem.h"
#include "platform/Reports.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::size_t kHeaderSize = 24;
constexpr char kVersion = 1;
constexpr std::uint64_t kTicksInSecond = 10'000'000;

// Days from the beginning of 1601 to a date of the Gregorian calendar.
std::int64_t DaysSince1601(int year, int month, int day) {
  const int shifted = month > 2 ? year : year - 1;
  const int era = shifted / 400;
  const int yearOfEra = shifted - era * 400;
  const int dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  constexpr std::int64_t kDaysTo1601 = 584'694;
  return std::int64_t{era} * 146'097 + dayOfEra - kDaysTo1601;
}

}  // namespace

std::uint64_t FileTimeOfDate(std::string_view date) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  const std::string text(date.substr(0, 19));
  if (std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d", &year, &month, &day, &hour, &minute,
                  &second) != 6) {
    return 0;
  }
  if (year < 1601 || month < 1 || month > 12 || day < 1) return 0;
  const std::int64_t seconds =
      DaysSince1601(year, month, day) * 86'400 + hour * 3'600 + minute * 60 + second;
  return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds) * kTicksInSecond;
}

void PositionIndex::Set(std::uint32_t number, const PositionRecord& record) {
  if (number == 0 || number > records_.size()) {
    platform::WriteDebugChannel("SetPositionIndex:: Programatic Error");
    return;
  }
  records_[number - 1] = record;
}

void PositionIndex::Finish() const {
  if (enabled_) {
    std::string bytes(kHeaderSize + records_.size() * sizeof(PositionRecord), '\0');
    bytes[0] = kVersion;
    if (!records_.empty()) {
      std::memcpy(bytes.data() + kHeaderSize, records_.data(),
                  records_.size() * sizeof(PositionRecord));
    }
    if (platform::WriteWholeFile(path_, bytes, true, platform::Durability::kNone)) return;
  }
  static_cast<void>(platform::DeleteFile(path_));
}

}  // namespace corvane
