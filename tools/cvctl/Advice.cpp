#include "cvctl/Advice.h"

#include "platform/Error.h"
#include "platform/FileSystem.h"

namespace corvane::cvctl {

const char* Advice(std::int32_t error) {
  switch (error) {
    case platform::kErrorFileNotFound:
    case platform::kErrorInvalidName:
      return "check the name";
    case platform::kErrorPathNotFound:
      return "make the directory, or name another one";
    case platform::kErrorAccessDenied:
    case platform::kErrorWriteProtect:
      return "run the command as a user who has the rights";
    case platform::kErrorSharingViolation:
      return "another program holds it just now; try again";
    case platform::kErrorDiskFull:
      return "make room on the disk and try again";
    default:
      return "check the disk and try again";
  }
}

std::string WithAdvice(std::int32_t error) {
  std::string text = platform::ErrorText(error);
  while (text.ends_with('.')) text.pop_back();
  return text + "; " + Advice(error);
}

std::string FileTrouble(const std::string& path) {
  const std::int32_t error = platform::LastError();
  if (platform::DirectoryExists(path)) return path + ": it is a directory; name a file";
  return path + ": " + WithAdvice(error);
}

}  // namespace corvane::cvctl
