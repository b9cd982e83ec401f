#include "message/Recode.h"

#include "message/Ascii.h"
#include "message/CharsetTable.h"
#include "message/CodePages.h"
#include "message/Unicode.h"

namespace corvane {
namespace {

// Whether the text is ASCII and means the same in both pages.
bool IsUnchanged(int from, int to, std::string_view bytes) {
  AsciiForm form = CodePageAscii(from);
  if (form == AsciiForm::kOther || CodePageAscii(to) != AsciiForm::kSame) return false;
  constexpr std::string_view kEscapes = "\x1B\x0E\x0F~";
  if (form == AsciiForm::kEscapes && bytes.find_first_of(kEscapes) != bytes.npos) return false;
  return IsAscii(bytes);
}

bool Convert(int from, int to, std::string_view bytes, std::string& result) {
  if (IsUnchanged(from, to, bytes)) {
    result.assign(bytes);
    return true;
  }
  result.clear();
  if (to == kPageUtf8) return CodePageToUtf8(from, bytes, result);
  std::u16string wide;
  return CodePageToUtf16(from, bytes, wide) && Utf16ToCodePage(to, wide, result);
}

}  // namespace

bool RecodeText(std::string_view fromCharset, std::string_view bytes, std::string& result,
                std::string_view toCharset) {
  if (fromCharset.empty()) fromCharset = "UTF-8";
  if (toCharset.empty()) toCharset = "UTF-8";
  if (EqualsIgnoringCase(fromCharset, toCharset)) {
    result.assign(bytes);
    return true;
  }
  int from = LookupCodePage(fromCharset);
  int to = LookupCodePage(toCharset);
  if (HasCodePage(from) && HasCodePage(to) && Convert(from, to, bytes, result)) return true;
  result.assign(bytes);
  return false;
}

}  // namespace corvane
