// RegistryFileReader.cpp -- a recursive descent over the characters of a registry file. Lines are
// counted as characters are taken, so that each error knows where it stands.
#include <algorithm>
#include <optional>
#include <stdexcept>

#include "connector/settings/RegistryFile.h"
#include "connector/settings/RegistryText.h"
#include "connector/settings/SettingKeys.h"
#include "platform/Path.h"
#include "platform/SettingsSnapshot.h"

namespace corvane::settings {
namespace {

using platform::SettingChange;
using platform::SettingValue;
using Kind = SettingChange::Kind;

constexpr std::string_view kVersion5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view kVersion4 = "REGEDIT4";
constexpr std::string_view kUtf8Mark = "\xef\xbb\xbf";
constexpr std::string_view kLittleEndianMark = "\xff\xfe";
constexpr std::string_view kBigEndianMark = "\xfe\xff";

// Types of data as hex(n) names them.
constexpr int kStringType = 1;
constexpr int kExpandableType = 2;
constexpr int kDwordType = 4;

// `line` is 0 where the reader's own line is the place.
struct SyntaxError : std::runtime_error {
  explicit SyntaxError(const std::string& text, std::size_t where = 0)
      : std::runtime_error(text), line(where) {}
  std::size_t line;
};

bool IsBlank(char character) { return character == ' ' || character == '\t'; }
bool IsLineEnd(char character) { return character == '\r' || character == '\n'; }

int HexDigit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return -1;
}

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  void Read(std::vector<SettingChange>* changes) {
    ReadHeader();
    while (SkipToContent()) {
      quoteLine_ = 0;
      if (Peek() == '[') {
        changes->push_back(ReadKey());
      } else {
        changes->push_back(ReadEntry());
      }
      ExpectLineEnd();
    }
  }
  [[nodiscard]] std::size_t Line() const { return line_; }

 private:
  [[nodiscard]] bool AtEnd() const { return at_ == text_.size(); }
  [[nodiscard]] char Peek() const { return AtEnd() ? '\n' : text_[at_]; }
  [[nodiscard]] bool Follows(std::string_view word) const {
    return platform::EqualsNoCase(text_.substr(at_, word.size()), word);
  }

  char Take() {
    if (AtEnd()) throw SyntaxError("the file ends in the middle");
    char character = text_[at_++];
    bool lineEnd = character == '\n' || (character == '\r' && (AtEnd() || text_[at_] != '\n'));
    if (lineEnd) ++line_;
    return character;
  }

  bool TakeIf(std::string_view word) {
    if (!Follows(word)) return false;
    at_ += word.size();
    return true;
  }

  void SkipBlanks() {
    while (!AtEnd() && IsBlank(Peek())) ++at_;
  }

  std::string_view TakeRestOfLine() {
    std::size_t start = at_;
    while (!AtEnd() && !IsLineEnd(Peek())) ++at_;
    return text_.substr(start, at_ - start);
  }

  // Past blanks, empty lines and comments; false at the end of the file.
  bool SkipToContent() {
    for (; !AtEnd(); Take()) {
      SkipBlanks();
      if (!AtEnd() && Peek() == ';') (void)TakeRestOfLine();
      if (!AtEnd() && !IsLineEnd(Peek())) return true;
      if (AtEnd()) return false;
    }
    return false;
  }

  void ExpectLineEnd() {
    SkipBlanks();
    if (!AtEnd() && Peek() == ';') (void)TakeRestOfLine();
    if (AtEnd() || IsLineEnd(Peek())) return;
    // A quote that isn't closed swallows the lines up to the next one.
    bool swallowed = quoteLine_ != 0 && quoteLine_ != line_;
    if (swallowed) throw SyntaxError("the closing quote is missing", quoteLine_);
    throw SyntaxError("unexpected text behind the value");
  }

  void ReadHeader() {
    bool any = SkipToContent();
    std::string_view header = any ? TakeRestOfLine() : std::string_view();
    while (!header.empty() && IsBlank(header.back())) header.remove_suffix(1);
    wide_ = header == kVersion5;
    if (wide_ || header == kVersion4) return;
    throw SyntaxError("the file must begin with \"" + std::string(kVersion5) + "\" or \"" +
                      std::string(kVersion4) + "\"");
  }

  // Where the key of a line ends: a name may hold ], so it is the first one behind which nothing
  // but a comment stands.
  static std::size_t EndOfKey(std::string_view line) {
    for (std::size_t end = line.find(']'); end != std::string_view::npos;
         end = line.find(']', end + 1)) {
      const std::size_t behind = line.find_first_not_of(" \t", end + 1);
      if (behind == std::string_view::npos || line[behind] == ';') return end;
    }
    throw SyntaxError("a key must end with ]");
  }

  SettingChange ReadKey() {
    std::string_view line = TakeRestOfLine();
    std::size_t end = EndOfKey(line);
    at_ -= line.size() - end - 1;
    bool deleted = line.size() > 1 && line[1] == '-';
    std::string_view path = line.substr(deleted ? 2 : 1, end - (deleted ? 2 : 1));
    std::string_view root = path.substr(0, path.find('\\'));
    if (!platform::EqualsNoCase(root, "HKEY_LOCAL_MACHINE") &&
        !platform::EqualsNoCase(root, "HKLM")) {
      throw SyntaxError("only keys of HKEY_LOCAL_MACHINE can be imported, not \"" +
                        std::string(root) + "\"");
    }
    std::string key = WithBitnessNode(platform::CanonicalSettingKey(path));
    if (key.empty()) throw SyntaxError("the root itself is no key");
    key_ = deleted ? "" : key;
    return {deleted ? Kind::kDeleteKey : Kind::kMakeKey, key, "", {}};
  }

  SettingChange ReadEntry() {
    std::string name;
    if (Peek() == '"') {
      name = ReadQuoted();
    } else if (!TakeIf("@")) {
      throw SyntaxError("a line must be [KEY], \"name\"=value, @=value or a ; comment");
    }
    SkipBlanks();
    if (!TakeIf("=")) throw SyntaxError("= is missing behind the name");
    SkipBlanks();
    if (key_.empty()) throw SyntaxError("the value stands below no key");
    if (TakeIf("-")) return {Kind::kDeleteValue, key_, name, {}};
    return {Kind::kSet, key_, name, ReadValue()};
  }

  SettingValue ReadValue() {
    if (Peek() == '"') return SettingValue::String(ReadQuoted());
    if (TakeIf("dword:")) return SettingValue::Dword(ReadHexNumber(8));
    if (TakeIf("hex:")) return SettingValue::Binary(ReadBytes());
    if (!TakeIf("hex(")) {
      throw SyntaxError("a value must be \"text\", dword:, hex: or - to delete it");
    }
    auto type = static_cast<int>(ReadHexNumber(8));
    if (!TakeIf("):")) throw SyntaxError("hex(type): is expected");
    return ValueOfType(type, ReadBytes());
  }

  std::string ReadQuoted() {
    std::string text;
    quoteLine_ = line_;
    Take();
    for (char character = Take(); character != '"'; character = Take()) {
      if (character == '\\') {
        character = Take();
        if (character != '\\' && character != '"') {
          throw SyntaxError("write \\\\ for a backslash and \\\" for a quote");
        }
      }
      text += character;
      if (AtEnd()) throw SyntaxError("the closing quote is missing", quoteLine_);
    }
    return text;
  }

  std::uint32_t ReadHexNumber(std::size_t most) {
    std::uint32_t number = 0;
    std::size_t digits = 0;
    for (; HexDigit(Peek()) >= 0; ++at_, ++digits) {
      number = number << 4 | static_cast<std::uint32_t>(HexDigit(Peek()));
    }
    if (digits == 0 || digits > most) {
      throw SyntaxError("1 to " + std::to_string(most) + " hexadecimal digits are expected");
    }
    return number;
  }

  // "01,02,\" and on in the next line; nothing at all is a value of no bytes.
  std::string ReadBytes() {
    std::string bytes;
    for (SkipContinuation(); HexDigit(Peek()) >= 0; SkipContinuation()) {
      bytes += static_cast<char>(ReadHexNumber(2));
      SkipContinuation();
      if (!TakeIf(",")) break;
    }
    return bytes;
  }

  void SkipContinuation() {
    SkipBlanks();
    while (Peek() == '\\' && !AtEnd()) {
      Take();
      SkipBlanks();
      if (!IsLineEnd(Peek())) throw SyntaxError("\\ must end the line");
      while (!AtEnd() && (IsLineEnd(Peek()) || IsBlank(Peek()))) Take();
    }
  }

  SettingValue ValueOfType(int type, const std::string& bytes) {
    if (type == kDwordType && bytes.size() == 4) {
      std::uint32_t number = 0;
      for (std::size_t i = 4; i-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[i]);
      return SettingValue::Dword(number);
    }
    bool text = (type == kStringType || type == kExpandableType) && !bytes.empty();
    if (!text) return SettingValue::Binary(bytes);
    std::optional<std::string> decoded = wide_ ? Utf8FromUtf16(bytes) : bytes;
    if (!decoded) throw SyntaxError("the text is no valid UTF-16");
    if (!decoded->empty() && decoded->back() == '\0') decoded->pop_back();
    return SettingValue::String(*decoded);
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
  std::size_t quoteLine_ = 0;  // where the last quoted text of this entry began
  bool wide_ = true;           // whether hex(1) holds 16-bit units
  std::string key_;            // of the values that follow; empty when there is none
};

// UTF-8 or 8-bit text of the file, without a byte order mark.
std::string Decode(std::string_view bytes) {
  if (bytes.substr(0, 3) == kUtf8Mark) return std::string(bytes.substr(3));
  bool big = bytes.substr(0, 2) == kBigEndianMark;
  if (!big && bytes.substr(0, 2) != kLittleEndianMark) return std::string(bytes);
  std::string units(bytes.substr(2));
  if (units.size() % 2 != 0) throw SyntaxError("the file ends in the middle of a character");
  for (std::size_t i = 0; big && i + 1 < units.size(); i += 2) std::swap(units[i], units[i + 1]);
  std::size_t badAt = 0;
  std::optional<std::string> text = Utf8FromUtf16(units, &badAt);
  if (text) return *text;
  std::string before = Utf8FromUtf16(units.substr(0, badAt)).value_or("");
  auto lines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
  throw SyntaxError("the file is no valid UTF-16", lines + 1);
}

}  // namespace

RegistryFile ParseRegistryFile(std::string_view bytes) {
  RegistryFile file;
  std::string text;
  try {
    text = Decode(bytes);
  } catch (const SyntaxError& error) {
    return {{}, std::max<std::size_t>(error.line, 1), error.what()};
  }
  Reader reader(text);
  try {
    reader.Read(&file.changes);
  } catch (const SyntaxError& error) {
    return {{}, error.line != 0 ? error.line : reader.Line(), error.what()};
  }
  return file;
}

}  // namespace corvane::settings
