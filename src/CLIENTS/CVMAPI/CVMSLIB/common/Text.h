// Text.h -- tokens, search and replace, as the product's text files and lists count on them.
//
// "In any case" means the ASCII letters; all other bytes must be equal. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvane {

inline constexpr std::int32_t kMaximumTokens = 1'000'000;

// 0 for an empty text, otherwise 1 plus the separators found from the second character on, at most
// kMaximumTokens. A separator at the very beginning doesn't count, one at the end does.
[[nodiscard]] std::int32_t CountTokens(std::string_view text, std::string_view separator);

// The token of that number, from 1, into `buffer` of `size` bytes.
//
//   separator   found in any case; not empty
//   escape      a separator right behind this character doesn't count; 0 for none. Both stay in
//               the token
//
// 1  the token, which may be empty, is in `buffer`. A number past the last token gives the last
// 0  no such token: `number` is below 1, or above 1 in a text without separators, and `buffer`
//    stays as it was; or the token doesn't fit with its NUL, and `buffer` is empty
std::int32_t GetToken(std::string_view text, std::string_view separator, std::int32_t number,
                      char* buffer, std::size_t size, char escape = 0);

// The same as a view of `text`: without a limit of size. False as above.
[[nodiscard]] bool FindToken(std::string_view text, std::string_view separator, std::int32_t number,
                             std::string_view* token, char escape = 0);

// Where `pattern` begins in `text`, in any case; null when it doesn't occur or is empty. A length
// of -1 means up to the NUL.
[[nodiscard]] const char* FindNoCase(const char* text, const char* pattern,
                                     std::ptrdiff_t textLength = -1,
                                     std::ptrdiff_t patternLength = -1);
// The same as a position, from `from` on; npos when it doesn't occur or is empty.
[[nodiscard]] std::size_t PositionNoCase(std::string_view text, std::string_view pattern,
                                         std::size_t from = 0);

// Replaces occurrences of `find` by `replacement`, from left to right. Returns the number made.
//
//   limit       at most so many, if above 0
//   rescan      occurrences that a replacement brought about are replaced too, at most
//               kMaximumReplacements in all; has no effect when `replacement` holds `find` itself.
//               Otherwise the search goes on behind each replacement
//   exactCase   false finds in any case
std::int32_t ReplaceAll(std::string& text, std::string_view find, std::string_view replacement,
                        std::int32_t limit = 0, bool rescan = false, bool exactCase = true);

inline constexpr std::int32_t kMaximumReplacements = 1'000'000;

// Where the setting UseBufferAppendMode comes from: not 0 builds a result in a second buffer, 0
// changes the text in place. The results are the same. Until it is set the mode is 1.
void SetBufferAppendModeSource(std::uint32_t (*read)());

}  // namespace corvane
