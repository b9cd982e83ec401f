// IcuConverter.cpp -- converters of ICU.
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

#include <array>

#include "message/LibraryConverter.h"

namespace corvane {
namespace {

// ICU's own callback writes U+001A for a single bad byte of some charsets.
void ReplaceBadBytes(const void*, UConverterToUnicodeArgs* arguments, const char*, std::int32_t,
                     UConverterCallbackReason reason, UErrorCode* error) {
  if (reason > UCNV_IRREGULAR) return;
  constexpr UChar kReplacement = 0xFFFD;
  *error = U_ZERO_ERROR;
  ucnv_cbToUWriteUChars(arguments, &kReplacement, 1, 0, error);
}

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using ConverterHandle = std::unique_ptr<UConverter, CloseConverter>;

class IcuConverter : public LibraryConverter {
 public:
  explicit IcuConverter(ConverterHandle converter) : converter_(std::move(converter)) {
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter_.get(), ReplaceBadBytes, nullptr, nullptr, nullptr, &error);
    ucnv_setSubstString(converter_.get(), u"?", 1, &error);
  }

  void ToUtf16(std::string_view bytes, const WideSink& write) override {
    ucnv_reset(converter_.get());
    const char* source = bytes.data();
    const char* end = source + bytes.size();
    std::array<UChar, 4096> buffer;
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR) {
      error = U_ZERO_ERROR;
      UChar* target = buffer.data();
      ucnv_toUnicode(converter_.get(), &target, buffer.data() + buffer.size(), &source, end,
                     nullptr, 1, &error);
      write({buffer.data(), static_cast<std::size_t>(target - buffer.data())});
    }
  }

  void FromUtf16(std::u16string_view text, std::string& result) override {
    ucnv_reset(converter_.get());
    const UChar* source = text.data();
    const UChar* end = source + text.size();
    std::array<char, 4096> buffer;
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR) {
      error = U_ZERO_ERROR;
      char* target = buffer.data();
      ucnv_fromUnicode(converter_.get(), &target, buffer.data() + buffer.size(), &source, end,
                       nullptr, 1, &error);
      result.append(buffer.data(), target);
    }
  }

 private:
  ConverterHandle converter_;
};

}  // namespace

std::unique_ptr<LibraryConverter> OpenIcuConverter(const char* name) {
  UErrorCode error = U_ZERO_ERROR;
  ConverterHandle converter(ucnv_open(name, &error));
  if (U_FAILURE(error)) return nullptr;
  return std::make_unique<IcuConverter>(std::move(converter));
}

}  // namespace corvane
