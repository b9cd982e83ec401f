// LibraryConverter.h -- one converter of ICU or of the C library behind one face.
//
// A converter belongs to one thread. Bytes without a character become U+FFFD, characters that the
// charset lacks become '?'.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace corvane {

class LibraryConverter {
 public:
  virtual ~LibraryConverter() = default;
  // Takes text in pieces, which may part the halves of a character.
  using WideSink = std::function<void(std::u16string_view)>;

  // Both start from the charset's first state; FromUtf16 appends.
  virtual void ToUtf16(std::string_view bytes, const WideSink& write) = 0;
  virtual void FromUtf16(std::u16string_view text, std::string& result) = 0;
};

// Null when the library doesn't know the name.
[[nodiscard]] std::unique_ptr<LibraryConverter> OpenIcuConverter(const char* name);
[[nodiscard]] std::unique_ptr<LibraryConverter> OpenIconvConverter(const char* name);

}  // namespace corvane
