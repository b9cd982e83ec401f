// Printing.h -- values from outside as they go to people, and the answer of a change.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace corvane::cvctl {

// `text` with a '?' for each control character and each byte that belongs to no UTF-8 character, so
// that no stored value can steer the terminal or make lines of its own.
[[nodiscard]] std::string Shown(std::string_view text);

// The same, cut to `characters` at most.
[[nodiscard]] std::string ShownShort(std::string_view text, std::size_t characters);

// What a change answers with --json, such as {"mailbox": "acme/anna", "done": "added"}; nothing
// without.
void ConfirmJson(bool json, const char* kind, const std::string& name, const char* done);

}  // namespace corvane::cvctl
