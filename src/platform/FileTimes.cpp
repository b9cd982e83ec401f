// FileTimes.cpp -- times of files, and the DOS words for them.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <time.h>

#include <cerrno>
#include <charconv>
#include <string>

#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/PathSearch.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

constexpr const char* kCreatedAttribute = "user.corvane.created";
constexpr int kFirstDosYear = 1980;
constexpr int kLastDosYear = 2107;

}  // namespace

bool SetLastWriteTime(std::string_view path, std::int64_t seconds, std::int32_t nanoseconds) {
  return Succeeded(OnExistingPath(path, [&](const std::string& at) {
    struct timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
    return utimensat(AT_FDCWD, at.c_str(), times, 0) == 0 ? 0 : ErrorFromErrno(errno);
  }));
}

bool SetCreationTime(std::string_view path, std::int64_t seconds) {
  const std::string text = std::to_string(seconds);
  return Succeeded(OnExistingPath(path, [&](const std::string& at) {
    const int set = setxattr(at.c_str(), kCreatedAttribute, text.data(), text.size(), 0);
    return set == 0 ? 0 : ErrorFromErrno(errno);
  }));
}

std::optional<std::int64_t> GetCreationTime(std::string_view path) {
  std::int64_t seconds = 0;
  const std::int32_t error = OnExistingPath(path, [&](const std::string& at) {
    char text[24];
    const ssize_t size = getxattr(at.c_str(), kCreatedAttribute, text, sizeof text);
    if (size > 0 && std::from_chars(text, text + size, seconds).ec == std::errc()) return 0;
    FileInfo info;
    if (sys::Look(AT_FDCWD, at.c_str(), &info) != 0) return ErrorFromErrno(errno);
    seconds = info.creationTime;
    return info.creationTimeKnown ? 0 : ErrorFromErrno(ENOTSUP);
  });
  if (!Succeeded(error)) return std::nullopt;
  return seconds;
}

DosDateTime ToDosDateTime(std::int64_t seconds) {
  const time_t time = seconds;
  struct tm local = {};
  if (localtime_r(&time, &local) == nullptr) return {};
  const int year = local.tm_year + 1900;
  if (year < kFirstDosYear || year > kLastDosYear) return {};
  const int date = (year - kFirstDosYear) << 9 | (local.tm_mon + 1) << 5 | local.tm_mday;
  const int clock = local.tm_hour << 11 | local.tm_min << 5 | local.tm_sec / 2;
  return {static_cast<std::uint16_t>(date), static_cast<std::uint16_t>(clock)};
}

std::int64_t FromDosDateTime(DosDateTime value) {
  struct tm local = {};
  local.tm_year = (value.date >> 9) + kFirstDosYear - 1900;
  local.tm_mon = (value.date >> 5 & 0xF) - 1;
  local.tm_mday = value.date & 0x1F;
  local.tm_hour = value.time >> 11;
  local.tm_min = value.time >> 5 & 0x3F;
  local.tm_sec = (value.time & 0x1F) * 2;
  local.tm_isdst = -1;
  return mktime(&local);
}

}  // namespace corvane::platform
