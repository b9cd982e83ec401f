// FileRights.cpp -- who may do what with a file.
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <fstream>
#include <optional>
#include <string>

#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/PathSearch.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

constexpr mode_t kRights = 07777;
constexpr mode_t kRightsAskedFor = 0666;

// Of the process. umask() itself can't be asked without changing it for all threads.
std::optional<mode_t> CreationMask() {
  static const auto mask = [] {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("Umask:")) {
        return std::optional(
            static_cast<mode_t>(std::stoul(line.substr(line.find(':') + 1), nullptr, 8)));
      }
    }
    return std::optional<mode_t>();
  }();
  return mask;
}

std::int32_t StateOf(std::string_view path, std::string* at, struct stat* state) {
  return OnExistingPath(path, [&](const std::string& found) {
    *at = found;
    return stat(found.c_str(), state) == 0 ? 0 : ErrorFromErrno(errno);
  });
}

bool HasAttribute(const std::string& at, const char* name) {
  return getxattr(at.c_str(), name, nullptr, 0) >= 0;
}

}  // namespace

bool HasRightsOfNewFile(std::string_view path, std::string_view directory) {
  std::string source;
  std::string target;
  struct stat file = {};
  struct stat parent = {};
  const auto mask = CreationMask();
  if (!mask || StateOf(path, &source, &file) != 0 || StateOf(directory, &target, &parent) != 0) {
    return false;
  }
  const gid_t group = (parent.st_mode & S_ISGID) != 0 ? parent.st_gid : getegid();
  return file.st_uid == geteuid() && file.st_gid == group &&
         (file.st_mode & kRights) == (kRightsAskedFor & ~*mask) &&
         !HasAttribute(target, "system.posix_acl_default") &&
         !HasAttribute(source, "system.posix_acl_access");
}

}  // namespace corvane::platform
