#include "platform/Error.h"

#include <cerrno>

namespace corvane::platform {
namespace {

thread_local std::int32_t lastError = kErrorNone;

struct Row {
  int systemError;
  std::int32_t error;
};

constexpr Row kRows[] = {
    {0, kErrorNone},
    {ENOENT, kErrorFileNotFound},
    {ENOTDIR, kErrorPathNotFound},
    {ELOOP, kErrorPathNotFound},
    {EMFILE, kErrorTooManyOpenFiles},
    {ENFILE, kErrorTooManyOpenFiles},
    {EACCES, kErrorAccessDenied},
    {EPERM, kErrorAccessDenied},
    {EISDIR, kErrorAccessDenied},
    {EBADF, kErrorInvalidHandle},
    {ENOMEM, kErrorNotEnoughMemory},
    {EXDEV, kErrorNotSameDevice},
    {EROFS, kErrorWriteProtect},
    {EBUSY, kErrorSharingViolation},
    {ETXTBSY, kErrorSharingViolation},
    {ESTALE, kErrorNetworkNameGone},
    {EHOSTDOWN, kErrorNetworkNameGone},
    {EHOSTUNREACH, kErrorNetworkNameGone},
    {ENETDOWN, kErrorNetworkNameGone},
    {ENETUNREACH, kErrorNetworkNameGone},
    {ENOTCONN, kErrorNetworkNameGone},
    {EREMOTEIO, kErrorNetworkNameGone},
    {EEXIST, kErrorFileExists},
    {EINVAL, kErrorInvalidParameter},
    {ENOSPC, kErrorDiskFull},
    {EDQUOT, kErrorDiskFull},
    {EFBIG, kErrorDiskFull},
    {EILSEQ, kErrorInvalidName},
    {ENOTEMPTY, kErrorDirectoryNotEmpty},
    {ENAMETOOLONG, kErrorFilenameTooLong},
    {EIO, kErrorIoDevice},
};

struct TextRow {
  std::int32_t error;
  const char* text;
};

constexpr TextRow kTexts[] = {
    {kErrorNone, "The operation completed successfully."},
    {kErrorFileNotFound, "The system cannot find the file specified."},
    {kErrorPathNotFound, "The system cannot find the path specified."},
    {kErrorTooManyOpenFiles, "The system cannot open the file."},
    {kErrorAccessDenied, "Access is denied."},
    {kErrorInvalidHandle, "The handle is invalid."},
    {kErrorNotEnoughMemory, "Not enough memory resources are available to process this command."},
    {kErrorNotSameDevice, "The system cannot move the file to a different disk drive."},
    {kErrorNoMoreFiles, "There are no more files."},
    {kErrorWriteProtect, "The media is write protected."},
    {kErrorSharingViolation,
     "The process cannot access the file because it is being used by another process."},
    {kErrorNetworkNameGone, "The specified network name is no longer available."},
    {kErrorFileExists, "The file exists."},
    {kErrorInvalidParameter, "The parameter is incorrect."},
    {kErrorDiskFull, "There is not enough space on the disk."},
    {kErrorInvalidName, "The filename, directory name, or volume label syntax is incorrect."},
    {kErrorModuleNotFound, "The specified module could not be found."},
    {kErrorProcedureNotFound, "The specified procedure could not be found."},
    {kErrorDirectoryNotEmpty, "The directory is not empty."},
    {kErrorAlreadyExists, "Cannot create a file when that file already exists."},
    {kErrorFilenameTooLong, "The filename or extension is too long."},
    {kErrorNotOwner, "Attempt to release mutex not owned by caller."},
    {kErrorServiceNotInstalled, "The specified service does not exist as an installed service."},
    {kErrorServiceSpecific, "The service has returned a service-specific error code."},
    {kErrorServiceExists, "The specified service already exists."},
    {kErrorIoDevice, "The request could not be performed because of an I/O device error."},
    {kErrorFileCorrupt, "The file or directory is corrupted and unreadable."},
};

}  // namespace

std::int32_t LastError() { return lastError; }
void SetLastError(std::int32_t error) { lastError = error; }

std::int32_t ErrorFromErrno(int systemError) {
  for (const Row& row : kRows) {
    if (row.systemError == systemError) return row.error;
  }
  return kErrorIoDevice;
}

bool FailWithErrno() {
  SetLastError(ErrorFromErrno(errno));
  return false;
}

std::string ErrorText(std::int32_t error) {
  for (const TextRow& row : kTexts) {
    if (row.error == error) return row.text;
  }
  return "Error " + std::to_string(error);
}

}  // namespace corvane::platform
