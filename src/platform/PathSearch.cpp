#include "platform/PathSearch.h"

#include <sys/stat.h>

#include <cerrno>
#include <optional>

#include "platform/NameCache.h"
#include "platform/NameTable.h"

namespace corvane::platform {
namespace {

bool Look(const std::string& path, struct stat* state) {
  names::CountLook();
  return stat(path.c_str(), state) == 0;
}

// What can't be looked at for another reason counts as there.
bool IsThere(const std::string& path) {
  struct stat state = {};
  return Look(path, &state) || (errno != ENOENT && errno != ENOTDIR);
}

bool LookAtDirectory(const std::string& path, struct stat* state) {
  return Look(path, state) && S_ISDIR(state->st_mode);
}

struct FoundDirectory {
  std::string path;
  struct stat state = {};
  bool there = false;
};

// The directory `path`, in the spelling that it has.
FoundDirectory FindDirectory(const std::string& path) {
  FoundDirectory found{path};
  if (auto known = names::Remembered(path)) {
    found.path = std::move(*known);
    found.there = LookAtDirectory(found.path, &found.state);
    if (found.there) return found;
    names::Forget(path);
    found.path = path;
  }
  found.there = LookAtDirectory(path, &found.state);
  if (found.there || path == "." || path == "/") return found;
  Spelling spelling = FindSpelling(path);
  const bool other = spelling.path != path;
  found.path = std::move(spelling.path);
  if (!spelling.directoryThere || !other) return found;
  found.there = LookAtDirectory(found.path, &found.state);
  if (found.there) names::Remember(path, found.path);
  return found;
}

// The spelling in which a name of the table lies in `directory`: the one asked for, the table's, or
// the table's in the other case, as another system may have left it. The table's where there is
// none; `tried` tells that the one asked for isn't there.
std::string TableSpelling(const std::string& directory, std::string_view asked,
                          const std::string& spelling, bool tried) {
  if (!tried && IsThere(JoinSystem(directory, asked))) return std::string(asked);
  for (const std::string& candidate : {spelling, names::OtherCase(spelling)}) {
    if (candidate != asked && IsThere(JoinSystem(directory, candidate))) return candidate;
  }
  return spelling;
}

struct FoundName {
  std::string name;
  bool listed = false;  // seen in a listing, so worth remembering
};

// The spelling of `name` in a directory; `tried` tells that `name` itself isn't there.
FoundName NameIn(const FoundDirectory& directory, std::string_view name, bool tried) {
  const names::Rule rule = names::RuleFor(name);
  if (rule.kind == names::Kind::kExact) return {std::string(name)};
  if (rule.kind == names::Kind::kTable) {
    return {TableSpelling(directory.path, name, *rule.spelling, tried)};
  }
  auto listed = names::FindInListing(directory.path, directory.state, name);
  if (listed) return {std::move(*listed), true};
  return {rule.spelling.value_or(std::string(name))};
}

}  // namespace

std::string DirectoryOf(const std::string& path) {
  const std::size_t at = path.rfind('/');
  if (at == std::string::npos) return ".";
  return at == 0 ? "/" : path.substr(0, at);
}

std::string JoinSystem(const std::string& directory, std::string_view name) {
  std::string path;
  path.reserve(directory.size() + 1 + name.size());
  if (directory != ".") path = directory;
  if (!path.empty() && path.back() != '/') path += '/';
  return path.append(name);
}

std::int32_t CheckPath(std::string_view path) {
  if (path.empty()) return kErrorPathNotFound;
  return path.find('\0') == std::string_view::npos ? 0 : kErrorInvalidName;
}

Spelling FindSpelling(const std::string& path) {
  if (path.empty() || path == "/") return {path, false};
  if (auto known = names::Remembered(path)) {
    if (IsThere(*known)) return {std::move(*known), true};
    names::Forget(path);
  }
  const std::string asked = DirectoryOf(path);
  const FoundDirectory directory = FindDirectory(asked);
  const std::string_view name = FileName(path);
  if (!directory.there) {
    return {JoinSystem(directory.path, names::RuleFor(name).spelling.value_or(std::string(name))),
            false};
  }
  const FoundName onDisk = NameIn(directory, name, directory.path == asked);
  Spelling found{JoinSystem(directory.path, onDisk.name), true};
  if (onDisk.listed) names::Remember(path, found.path);
  return found;
}

std::string CreationPath(const std::string& path) {
  const std::string_view name = FileName(path);
  const names::Rule rule = names::RuleFor(name);
  if (rule.kind == names::Kind::kExact) return path;
  if (rule.kind == names::Kind::kTable) {
    const std::string directory = DirectoryOf(path);
    return JoinSystem(directory, TableSpelling(directory, name, *rule.spelling, false));
  }
  if (IsThere(path)) return path;
  return FindSpelling(path).path;
}

}  // namespace corvane::platform
