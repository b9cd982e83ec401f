// BracketGuard.h -- words of the command line that stand in brackets.
//
// The command line library takes a word of a list that stands in brackets for a list itself. Such
// words of `queue submit` and `index remove` carry a mark behind their bracket, which the command
// takes off.
#pragma once

#include <string>
#include <vector>

namespace corvane::cvctl {

inline constexpr char kBracketGuard = '\x1f';

// The words of the command line behind the program's name, marked.
[[nodiscard]] std::vector<std::string> GuardedWords(int argc, const char* const* argv);
// A word without its mark.
[[nodiscard]] std::string Unguarded(std::string word);

}  // namespace corvane::cvctl
