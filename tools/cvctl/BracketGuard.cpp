#include "cvctl/BracketGuard.h"

#include <string_view>
#include <utility>

namespace corvane::cvctl {
namespace {

// "--option=" gives an empty value, as "--option ''" does; the library would miss one.
void AddWord(std::string word, std::vector<std::string>& words) {
  const bool empty = word.starts_with("--") && word.find('=') == word.size() - 1;
  if (empty) word.pop_back();
  words.push_back(std::move(word));
  if (empty) words.emplace_back();
}

}  // namespace

std::string Unguarded(std::string word) {
  if (word.ends_with(kBracketGuard)) word.pop_back();
  return word;
}

std::vector<std::string> GuardedWords(int argc, const char* const* argv) {
  std::vector<std::string> words;
  bool behindMark = false;
  for (int i = 1; i < argc; ++i) {
    if (behindMark) {
      words.emplace_back(argv[i]);
    } else {
      AddWord(argv[i], words);
    }
    behindMark = behindMark || std::string_view(argv[i]) == "--";
  }
  const std::string command = words.size() < 2 ? "" : words[0] + " " + words[1];
  if (command != "queue submit" && command != "index remove") return words;
  for (std::string& word : words) {
    const bool item = word.starts_with('[') || word.find("=[") != std::string::npos;
    if (item && word.ends_with(']')) word += kBracketGuard;
  }
  return words;
}

}  // namespace corvane::cvctl
