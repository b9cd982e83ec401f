// EncodedWords.h -- the encoded words of header text (RFC 2047).
//
// Text is taken as it comes: white space between two words stays, what looks like the start of a
// word but holds a blank in its charset or never gets to its text is plain text, a word that isn't
// ended runs to the end. A language behind the charset ("utf-8*en") is passed over. Time is linear.
// Any thread.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// Decodes `text` into `result`.
//
//   decode         off: words are taken apart and their text stands encoded
//   targetCharset  what plain text and words are brought together in before they become wide; an
//                  unknown one leaves the bytes
//   fixUnderscore  "=5F" in a word is a blank, like '_'
//   plainIsUtf8    plain text is UTF-8; off: UTF-8 when well-formed, windows-1252 otherwise
//
// A word of an unknown charset gives its bytes, read like plain text; a word whose text doesn't
// decode gives it as it stands.
void DecodeEncodedWords(std::string_view text, std::u16string& result, bool decode = true,
                        std::string_view targetCharset = "utf-8", bool fixUnderscore = false,
                        bool plainIsUtf8 = false);

// DecodeEncodedWords with its defaults, as UTF-8; nothing is copied when there is nothing to do.
[[nodiscard]] std::string DecodeEncodedWordsToUtf8(std::string_view text);

// Removes the white space between adjacent encoded words, where it only keeps them apart.
[[nodiscard]] std::string JoinEncodedWords(std::string_view text);

}  // namespace corvane
