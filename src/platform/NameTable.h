// NameTable.h -- the file names that the product itself gives, each with its one spelling on disk.
// Inside the layer only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvane::platform::names {

// How a name that isn't there in the spelling asked for is looked for.
enum class Kind : std::uint8_t {
  kExact,     // not at all: messages and request markers
  kTable,     // in its table spelling and in the other case: files that lie among messages
  kSearched,  // under its table spelling if it has one, then in the listing of its directory
};

struct Rule {
  Kind kind = Kind::kSearched;
  std::optional<std::string> spelling;  // of the table
};

// The rule for the last name of a path.
[[nodiscard]] Rule RuleFor(std::string_view name);

// Whether the name is one of a message file.
[[nodiscard]] bool IsMessage(std::string_view name);

// The name with its ASCII letters in lower case.
[[nodiscard]] std::string Folded(std::string_view name);
// A table spelling, which is in one case where its kind is kTable, in the other one.
[[nodiscard]] std::string OtherCase(std::string_view spelling);
[[nodiscard]] constexpr char FoldedByte(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Every row of the table, for its test.
struct Row {
  std::string_view folded;
  std::string_view spelling;
};
[[nodiscard]] const Row* TableBegin();
[[nodiscard]] const Row* TableEnd();

}  // namespace corvane::platform::names
