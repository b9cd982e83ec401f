// CommandText.h -- the text of a command file, and how it gets to the disk: one Key=Value a line,
// lines ended by CR LF.
//
// A key counts at the very start of a line only, and in its exact case. Numbers are signed decimal;
// what is no number is 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "connector/queue/ConnectorMessage.h"
#include "platform/File.h"

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

// Takes the value of a line that begins with `key` into `field`, cut to `limit` bytes; false for
// any other line.
template <std::size_t Size>
bool TakeText(std::string_view line, std::string_view key, char (&field)[Size],
              std::size_t limit = Size - 1) {
  const auto value = ValueOf(line, key);
  if (value) SetText(field, *value, limit);
  return value.has_value();
}
bool TakeNumber(std::string_view line, std::string_view key, std::int32_t& field);

// Appends a line of `key` and `value`. A line end or NUL inside a value would make another line of
// its rest, so it goes out as a blank.
void AppendLine(std::string& text, std::string_view key, std::string_view value);
void AppendLine(std::string& text, std::string_view key, std::int32_t value);

// Writes the text as the command file `path`, durable; nobody meets half a file. Up to 10 tries, 2
// seconds apart, whatever the error. 1, or 0.
[[nodiscard]] std::int32_t WriteCommandFile(const std::string& path, const std::string& text);

// Puts the text in the place of the command file that the caller holds open without sharing, and
// lets go of it. The very file that was read: one that has gone meanwhile doesn't come back. A
// crash leaves the old text or the new one.
[[nodiscard]] bool ReplaceCommandFile(platform::File& held, const std::string& path,
                                      const std::string& text);

// Whether the line begins with one of the keys of a command file.
[[nodiscard]] bool BeginsWithKnownKey(std::string_view line);

}  // namespace corvane
