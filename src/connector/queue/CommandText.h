// CommandText.h -- the text of a command file: one Key=Value a line, lines ended by CR LF.
//
// A key counts at the very start of a line only, and in its exact case. Numbers are signed decimal;
// what is no number is 0.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace corvane {

// Walks the lines of a text. Lines end at LF, a CR before it is dropped; the last line needs no
// end.
class LineWalker {
 public:
  explicit LineWalker(std::string_view text) : rest_(text) {}
  // The next line without its end; nothing after the last.
  [[nodiscard]] std::optional<std::string_view> Next();

 private:
  std::string_view rest_;
  bool done_ = false;
};

// The text behind `key` when the line begins with it: ValueOf("Retries=3", "Retries=") is "3".
[[nodiscard]] std::optional<std::string_view> ValueOf(std::string_view line, std::string_view key);

// A leading signed decimal number behind blanks, held to 32 bits; 0 when there is none.
[[nodiscard]] std::int32_t NumberOf(std::string_view text);

// Whether the line begins with one of the keys of a command file.
[[nodiscard]] bool BeginsWithKnownKey(std::string_view line);

}  // namespace corvane
