// Error.h -- the error numbers that the product's logic steers by, kept per thread.
//
// Every call of the platform layer that fails leaves its number here; a call that works leaves it
// as it was. The numbers are those that log lines print and that algorithms compare with.
#pragma once

#include <cstdint>
#include <string>

namespace corvane::platform {

inline constexpr std::int32_t kErrorNone = 0;
inline constexpr std::int32_t kErrorFileNotFound = 2;
inline constexpr std::int32_t kErrorPathNotFound = 3;
inline constexpr std::int32_t kErrorTooManyOpenFiles = 4;
inline constexpr std::int32_t kErrorAccessDenied = 5;
inline constexpr std::int32_t kErrorInvalidHandle = 6;
inline constexpr std::int32_t kErrorNotEnoughMemory = 8;
inline constexpr std::int32_t kErrorNotSameDevice = 17;
inline constexpr std::int32_t kErrorNoMoreFiles = 18;
inline constexpr std::int32_t kErrorWriteProtect = 19;
inline constexpr std::int32_t kErrorSharingViolation = 32;
inline constexpr std::int32_t kErrorNetworkNameGone = 64;
inline constexpr std::int32_t kErrorFileExists = 80;
inline constexpr std::int32_t kErrorInvalidParameter = 87;
inline constexpr std::int32_t kErrorDiskFull = 112;
inline constexpr std::int32_t kErrorInvalidName = 123;
inline constexpr std::int32_t kErrorModuleNotFound = 126;
inline constexpr std::int32_t kErrorProcedureNotFound = 127;
inline constexpr std::int32_t kErrorDirectoryNotEmpty = 145;
inline constexpr std::int32_t kErrorAlreadyExists = 183;
inline constexpr std::int32_t kErrorFilenameTooLong = 206;
inline constexpr std::int32_t kErrorNotOwner = 288;
inline constexpr std::int32_t kErrorServiceNotInstalled = 1060;
inline constexpr std::int32_t kErrorServiceSpecific = 1066;
inline constexpr std::int32_t kErrorServiceExists = 1073;
inline constexpr std::int32_t kErrorIoDevice = 1117;
inline constexpr std::int32_t kErrorFileCorrupt = 1392;

// The calling thread's last error.
[[nodiscard]] std::int32_t LastError();
void SetLastError(std::int32_t error);

// Puts the last error back at the end of its scope, for what is no business of the caller's.
class KeepLastError {
 public:
  KeepLastError() : error_(LastError()) {}
  ~KeepLastError() { SetLastError(error_); }
  KeepLastError(const KeepLastError&) = delete;
  KeepLastError& operator=(const KeepLastError&) = delete;

 private:
  const std::int32_t error_;
};

// The number for a value of errno. ENOENT is 2; callers that know that a directory on the way is
// missing say 3 themselves. ESTALE, EHOSTDOWN, ENETDOWN, ENETUNREACH, ENOTCONN and EREMOTEIO
// are 64. Unknown values are 1117.
[[nodiscard]] std::int32_t ErrorFromErrno(int systemError);

// Keeps the number for `errno` as the last error, and returns false, so that a failing call can
// return it.
bool FailWithErrno();

// One line about a number for people, without a line end: "The system cannot find the file
// specified." and the like; "Error <n>" for a number without a text.
[[nodiscard]] std::string ErrorText(std::int32_t error);

}  // namespace corvane::platform
