// FileFinder.cpp -- walks over the names of a directory.
#include <dirent.h>
#include <fcntl.h>

#include <cerrno>

#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/PathSearch.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

bool IsDots(std::string_view name) { return name == "." || name == ".."; }

}  // namespace

struct FileFinder::State {
  std::unique_ptr<DIR, CloseDirectory> directory;
  std::string pattern;
  std::string single;      // a pattern without '*' and '?': the one path that it means
  std::int32_t error = 0;  // why there is nothing to walk
  bool found = false;

  std::optional<FoundFile> NextInDirectory(bool withInfo);
  bool Look(FoundFile* file) const;
  std::optional<FoundFile> Single(bool withInfo);
};

FileFinder::FileFinder(std::string_view pattern) : state_(std::make_unique<State>()) {
  state_->error = CheckPath(pattern);
  if (state_->error != 0) return;
  const std::string path = SystemPath(pattern);
  state_->pattern = FileName(path);
  if (state_->pattern.find_first_of("*?") == std::string::npos) {
    state_->single = path;
    return;
  }
  state_->error = OnSystemPath(DirectoryOf(path), [&](const std::string& at) {
    state_->directory.reset(opendir(at.c_str()));
    return state_->directory ? 0 : ErrorFromErrno(errno);
  });
  if (IsNotThere(state_->error)) state_->error = kErrorPathNotFound;
}

FileFinder::~FileFinder() = default;
FileFinder::FileFinder(FileFinder&&) noexcept = default;
FileFinder& FileFinder::operator=(FileFinder&&) noexcept = default;

std::optional<FoundFile> FileFinder::State::NextInDirectory(bool withInfo) {
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(directory.get());
    if (entry == nullptr) {
      if (errno != 0) error = ErrorFromErrno(errno);
      return std::nullopt;
    }
    const std::string_view name = entry->d_name;
    if (IsDots(name) || !MatchesPattern(name, pattern)) continue;
    FoundFile match{std::string(name), {}};
    if (!withInfo || Look(&match)) return match;
  }
}

// What is there and can't be looked at keeps an empty info.
bool FileFinder::State::Look(FoundFile* file) const {
  file->info = {};
  return sys::Look(dirfd(directory.get()), file->name.c_str(), &file->info) == 0 || errno != ENOENT;
}

std::optional<FoundFile> FileFinder::State::Single(bool withInfo) {
  if (found) return std::nullopt;
  FoundFile match;
  error = OnSystemPath(single, [&](const std::string& at) {
    match.name = FileName(at);
    return sys::Look(AT_FDCWD, at.c_str(), &match.info) == 0 ? 0 : ErrorFromErrno(errno);
  });
  if (error != 0) return std::nullopt;
  if (!withInfo) match.info = {};
  return match;
}

bool FileFinder::Look(FoundFile* file) const {
  return state_->directory != nullptr && state_->Look(file);
}

std::optional<FoundFile> FileFinder::Next(bool withInfo) {
  std::optional<FoundFile> match;
  if (state_->error == 0) {
    match = state_->directory ? state_->NextInDirectory(withInfo) : state_->Single(withInfo);
  }
  if (match) {
    state_->found = true;
  } else if (state_->error != 0) {
    SetLastError(state_->error);
  } else {
    SetLastError(state_->found ? kErrorNoMoreFiles : kErrorFileNotFound);
  }
  return match;
}

}  // namespace corvane::platform
