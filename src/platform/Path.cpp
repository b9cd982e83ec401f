#include "platform/Path.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "platform/NameTable.h"
#include "platform/PathSearch.h"

namespace corvane::platform {
namespace {

constexpr std::string_view kSeparators = "\\/";
constexpr std::size_t kMaximumName = 255;

bool IsSeparator(char c) { return c == '\\' || c == '/'; }

}  // namespace

std::string SystemPath(std::string_view path) {
  std::string system;
  system.reserve(path.size());
  for (const char c : path) {
    if (!IsSeparator(c)) {
      system += c;
    } else if (system.empty() || system.back() != '/') {
      system += '/';
    }
  }
  if (system.size() > 1 && system.back() == '/') system.pop_back();
  return system;
}

std::string ResolvePath(std::string_view path) {
  std::string system = SystemPath(path);
  if (CheckPath(path) != 0) return system;
  struct stat state = {};
  if (stat(system.c_str(), &state) == 0) return system;
  if (errno != ENOENT && errno != ENOTDIR) return system;
  return FindSpelling(system).path;
}

std::string AbsolutePath(std::string_view path) {
  std::error_code failure;
  const std::string system = SystemPath(path);
  const auto absolute = std::filesystem::absolute(system, failure).lexically_normal();
  return failure ? system : absolute.string();
}

std::string JoinPath(std::string_view directory, std::string_view name) {
  while (!name.empty() && IsSeparator(name.front()) && !directory.empty()) name.remove_prefix(1);
  std::string path;
  path.reserve(directory.size() + 1 + name.size());
  path = directory;
  if (!path.empty() && !IsSeparator(path.back())) path += '\\';
  return path.append(name);
}

std::string_view ParentPath(std::string_view path) {
  const std::size_t at = path.find_last_of(kSeparators);
  return at == std::string_view::npos ? std::string_view() : path.substr(0, at);
}

std::string_view FileName(std::string_view path) {
  const std::size_t at = path.find_last_of(kSeparators);
  return at == std::string_view::npos ? path : path.substr(at + 1);
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return names::FoldedByte(x) == names::FoldedByte(y);
         });
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
  if (pattern == "*.*") return true;
  std::size_t at = 0;
  std::size_t inPattern = 0;
  std::size_t star = std::string_view::npos;  // the last '*' met
  std::size_t resume = 0;                     // where its run ends for now
  while (at < name.size()) {
    if (inPattern < pattern.size() && pattern[inPattern] == '*') {
      star = inPattern++;
      resume = at;
    } else if (inPattern < pattern.size() &&
               (pattern[inPattern] == '?' ||
                names::FoldedByte(pattern[inPattern]) == names::FoldedByte(name[at]))) {
      ++inPattern;
      ++at;
    } else if (star != std::string_view::npos) {
      inPattern = star + 1;
      at = ++resume;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', inPattern) == std::string_view::npos;
}

bool IsSafeName(std::string_view name) {
  if (name.empty() || name.size() > kMaximumName) return false;
  if (name.back() == ' ' || name.back() == '.') return false;
  return std::none_of(name.begin(), name.end(), [](char c) {
    return IsSeparator(c) || static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
  });
}

}  // namespace corvane::platform
