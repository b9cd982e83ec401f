// HeaderText.h -- single headers in raw text, found, set and removed without parsing the rest.
//
// Header names compare without regard to case. Each call is one pass. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// The raw value of the header `name` (without its colon) in `text`, line ends of its folds and all:
// from behind the colon, blanks and TABs skipped, to the last line end. Empty with a null data
// pointer when there is no such header.
//
// The name stands at the very start of the text or behind `lineEnd`.
[[nodiscard]] std::string_view FindRawHeader(std::string_view text, std::string_view name,
                                             std::string_view lineEnd = "\r\n");

// The value of the header `name` in `text`. With `stopAtSemicolon` it ends at the first ';' or line
// end; without, folded lines are joined, their leading blanks and TABs dropped. False when there is
// no such header; `result` is empty then.
bool FindHeaderInText(std::string_view text, std::string_view name, std::string& result,
                      std::string_view lineEnd = "\r\n", bool stopAtSemicolon = false);

// Replaces the header `name`, which carries its colon, and its continuation lines by
// "name value\r\n". A header is looked for up to the first empty line with `inHeaderOnly`, else in
// the whole text. When there is none the line goes behind the last header line, or with
// `inHeaderOnly` off to the very start.
void AddHeaderToText(std::string& text, std::string_view name, std::string_view value,
                     bool inHeaderOnly = true);

// Copies `text` into `result` without the first header `name` (with or without its colon) and its
// continuation lines; looks up to the first empty line, or everywhere with `wholeText`. False, with
// an unchanged copy, when there is none.
bool RemoveHeaderFromText(std::string_view text, std::string_view name, std::string& result,
                          bool wholeText = false);

}  // namespace corvane
