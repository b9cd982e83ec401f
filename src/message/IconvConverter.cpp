// IconvConverter.cpp -- converters of the C library.
#include <iconv.h>

#include <array>
#include <cerrno>

#include "message/LibraryConverter.h"

namespace corvane {
namespace {

constexpr const char* kWide = "UTF-16LE";
constexpr std::size_t kFailed = static_cast<std::size_t>(-1);

class Handle {
 public:
  Handle(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
  ~Handle() {
    if (IsOpen()) iconv_close(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  [[nodiscard]] bool IsOpen() const { return handle_ != reinterpret_cast<iconv_t>(kFailed); }

  // Converts `size` bytes at `source` and hands the output to `write` in pieces. At something that
  // can't be converted `skip` is asked how many bytes of input to pass over.
  template <typename Write, typename Skip>
  void Convert(const char* source, std::size_t size, Write write, Skip skip) {
    iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    char* input = const_cast<char*>(source);  // iconv's signature; it doesn't write there
    while (size > 0) {
      if (Step(&input, &size, write) || errno == E2BIG) continue;
      std::size_t passed = std::min(size, skip(std::string_view(input, size)));
      input += passed;
      size -= passed;
    }
    Step(nullptr, nullptr, write);
  }

 private:
  template <typename Write>
  bool Step(char** input, std::size_t* size, Write write) {
    std::array<char, 4096> buffer;
    char* output = buffer.data();
    std::size_t room = buffer.size();
    std::size_t converted = iconv(handle_, input, size, &output, &room);
    int error = errno;
    write(std::string_view(buffer.data(), static_cast<std::size_t>(output - buffer.data())));
    errno = error;
    return converted != kFailed;
  }

  iconv_t handle_;
};

class IconvConverter : public LibraryConverter {
 public:
  explicit IconvConverter(const char* name) : decode_(kWide, name), encode_(name, kWide) {}

  [[nodiscard]] bool IsOpen() const { return decode_.IsOpen() && encode_.IsOpen(); }

  void ToUtf16(std::string_view bytes, const WideSink& write) override {
    std::u16string wide;
    auto widen = [&](std::string_view piece) {
      wide.clear();
      for (std::size_t i = 0; i + 1 < piece.size(); i += 2) {
        auto low = static_cast<unsigned char>(piece[i]);
        auto high = static_cast<unsigned char>(piece[i + 1]);
        wide.push_back(static_cast<char16_t>(low | high << 8));
      }
      write(wide);
    };
    decode_.Convert(bytes.data(), bytes.size(), widen, [&](std::string_view) {
      write(u"\xFFFD");
      return std::size_t{1};
    });
  }

  void FromUtf16(std::u16string_view text, std::string& result) override {
    // A character beyond the first plane is one question mark.
    auto write = [&](std::string_view piece) { result.append(piece); };
    const char* bytes = reinterpret_cast<const char*>(text.data());
    encode_.Convert(bytes, text.size() * 2, write, [&](std::string_view rest) {
      result.push_back('?');
      bool pair = rest.size() >= 4 && (static_cast<unsigned char>(rest[1]) & 0xFC) == 0xD8;
      return std::size_t{pair ? 4U : 2U};
    });
  }

 private:
  Handle decode_;
  Handle encode_;
};

}  // namespace

std::unique_ptr<LibraryConverter> OpenIconvConverter(const char* name) {
  auto converter = std::make_unique<IconvConverter>(name);
  if (!converter->IsOpen()) return nullptr;
  return converter;
}

}  // namespace corvane
