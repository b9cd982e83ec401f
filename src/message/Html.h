// Html.h -- HTML to plain text and back, as far as mail bodies need it.
//
// Both work in place, in linear time. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// Leaves the text of the body: entities of the common kind become bytes (of windows-1252 where they
// aren't ASCII), <p> and <br> become `lineEnd`, other tags vanish. A '<' with no '>' behind it is
// dropped and the text behind it stays.
void StripHtml(std::string& text, std::string_view lineEnd = "\r\n");

// '<' and '>' become entities, line ends (CR LF or LF) become <br>.
void EscapeText(std::string& text);

}  // namespace corvane
