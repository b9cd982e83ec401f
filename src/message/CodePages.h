// CodePages.h -- text of a code page to UTF-16 and back.
//
// For each page a table says who converts it: we ourselves (Unicode and every single-byte page,
// from a table of 256 characters), ICU, or the C library, whichever has the page right. A page that
// nobody has is refused. Single-byte tables are made at a page's first use and shared by all
// threads; converters of a library are kept one a thread. Any thread.
//
// Malformed input doesn't fail: it becomes U+FFFD, and a character that a page lacks becomes '?'.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// How ASCII text looks in a page.
enum class AsciiForm {
  kSame,     // ASCII text means itself
  kEscapes,  // the same, when it holds neither ESC, SO nor SI nor '~'
  kOther,    // EBCDIC and wide units
};

// Whether the page can be converted.
[[nodiscard]] bool HasCodePage(int codePage);
[[nodiscard]] AsciiForm CodePageAscii(int codePage);

// Append to `result`. False, with nothing appended, when nobody has the page.
bool CodePageToUtf16(int codePage, std::string_view bytes, std::u16string& result);
bool Utf16ToCodePage(int codePage, std::u16string_view text, std::string& result);
// The same as over UTF-16, with its own short way for single-byte pages.
bool CodePageToUtf8(int codePage, std::string_view bytes, std::string& result);

// Bytes of which nobody says what they are: UTF-8 when they are well-formed UTF-8, windows-1252
// otherwise. Appends UTF-8.
void UnlabelledToUtf8(std::string_view bytes, std::string& result);
// UTF-8 with single bytes of windows-1252 in it, which is what HTML of UTF-8 becomes as text.
// Appends UTF-8.
void MixedToUtf8(std::string_view bytes, std::string& result);

}  // namespace corvane
