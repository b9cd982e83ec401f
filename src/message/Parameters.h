// Parameters.h -- the parameters of Content-Type and Content-Disposition, as a part's names need
// them.
//
// A value is the header's text with folds joined. Quoted strings may hold ';' and backslashes
// before
// '"' and '\'; an unquoted value runs to the next ';'. Parameters in the extended form
// (name*=charset'language'text) and in pieces (name*0, name*1 ...) are put together and converted
// to UTF-8; they win over the plain form of the same name. At most kMaximumPieces pieces count.
// Time is linear in the value. Any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

inline constexpr std::size_t kMaximumPieces = 1000;

// One parameter as it stands.
struct RawParameter {
  std::string_view name;  // without "*" and "*N"
  std::string_view text;  // without its quotes, backslashes still there
  bool quoted = false;
  bool extended = false;
  int number = -1;  // of a piece
};

// Walks the parameters of a value; what stands before the first ';' is passed over.
class ParameterWalk {
 public:
  explicit ParameterWalk(std::string_view value);
  // The next one that has a name and a '='.
  [[nodiscard]] bool Next(RawParameter& parameter);

 private:
  std::string_view TakeValue(bool& quoted);
  std::string_view rest_;
};

// The text of a parameter with its backslashes resolved.
[[nodiscard]] std::string Unquote(const RawParameter& parameter);

// "charset'language'text" taken apart; without both quotes all of it is text.
struct ExtendedValue {
  std::string_view charset;
  std::string_view language;
  std::string_view text;
};
[[nodiscard]] ExtendedValue SplitExtended(std::string_view value);

// What stands before the first ';', trimmed of blanks and TABs.
[[nodiscard]] std::string_view FirstField(std::string_view value);

// The parameter `name` in the plain form, or nothing.
[[nodiscard]] std::optional<std::string> FindParameter(std::string_view value,
                                                       std::string_view name);
// The same in the extended form or in pieces. `guessPercent` reads a piece that holds a '%' as
// percent-encoded and any other as encoded words, whatever its form.
[[nodiscard]] std::optional<std::string> FindExtendedParameter(std::string_view value,
                                                               std::string_view name,
                                                               bool guessPercent);

}  // namespace corvane
