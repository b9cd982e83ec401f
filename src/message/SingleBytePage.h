// SingleBytePage.h -- a code page of one byte a character, as tables in both directions.
//
// Immutable once made.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace corvane {

class SingleBytePage {
 public:
  using Characters = std::array<char16_t, 256>;
  explicit SingleBytePage(const Characters& characters);

  [[nodiscard]] bool AsciiMeansItself() const { return asciiMeansItself_; }
  // All append.
  void ToUtf16(std::string_view bytes, std::u16string& result) const;
  void ToUtf8(std::string_view bytes, std::string& result) const;
  void FromUtf16(std::u16string_view text, std::string& result) const;

 private:
  struct Utf8Form {
    char bytes[3];
    std::uint8_t length;
  };
  using Row = std::array<std::uint8_t, 256>;

  Characters characters_;
  std::array<Utf8Form, 256> utf8_{};
  // By the upper byte of the character, then by the lower one; 0 in a row means no such character.
  std::array<std::unique_ptr<Row>, 256> bytes_;
  char unknown_ = '?';
  bool asciiMeansItself_ = true;
};

}  // namespace corvane
