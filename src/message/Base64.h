// Base64.h -- the Base64 transfer encoding (RFC 4648 alphabet with '=' padding), both ways.
//
// Any thread.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// Decodes `text` into `result`; white space is passed over. False, with what was decoded so far in
// `result`, for any other character outside the alphabet, for padding that is wrong, and for a
// last group of a single character. A last group without any padding is accepted.
bool DecodeBase64(std::string_view text, std::string& result);

// Appends `text` to `result` as one line.
void EncodeBase64(std::string_view text, std::string& result);

}  // namespace corvane
