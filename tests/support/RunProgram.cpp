#include "tests/support/RunProgram.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {
namespace {

std::vector<std::string> ChangedEnvironment(
    const std::vector<std::pair<std::string, std::string>>& changes) {
  std::vector<std::string> lines;
  for (char** line = environ; *line != nullptr; ++line) {
    std::string_view text = *line;
    std::string_view name = text.substr(0, text.find('='));
    bool changed = std::any_of(changes.begin(), changes.end(),
                               [&](const auto& change) { return change.first == name; });
    if (!changed) lines.emplace_back(text);
  }
  for (const auto& [name, value] : changes) {
    if (!value.empty()) lines.push_back(name + "=" + value);
  }
  return lines;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

// Streams go through files, so that a program that says much can't fill a pipe and wait for ever.
ProgramResult RunProgram(const std::vector<std::string>& arguments,
                         const std::vector<std::pair<std::string, std::string>>& environment,
                         const std::string& input) {
  TemporaryDirectory streams;
  WriteBytes(streams / "input", input);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, (streams / "input").c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, (streams / "output").c_str(), O_WRONLY | O_CREAT,
                                   0600);
  posix_spawn_file_actions_addopen(&actions, 2, (streams / "errors").c_str(), O_WRONLY | O_CREAT,
                                   0600);
  std::vector<std::string> words = arguments;
  std::vector<std::string> variables = ChangedEnvironment(environment);
  pid_t child = 0;
  int failed = posix_spawn(&child, words[0].c_str(), &actions, nullptr, Pointers(words).data(),
                           Pointers(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (failed != 0 || waitpid(child, &status, 0) != child) return {};
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadBytes(streams / "output"),
          ReadBytes(streams / "errors")};
}

std::string ThisProgram() { return std::filesystem::read_symlink("/proc/self/exe").string(); }

}  // namespace corvane::test
