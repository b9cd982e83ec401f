// RegistryText.h -- texts between the 16-bit units of registry exports and our bytes (UTF-8).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvane::settings {

// UTF-8 of little-endian 16-bit units; an odd last byte is left out. Nothing when half of a
// surrogate pair stands alone; `badAt` receives the place of it.
[[nodiscard]] std::optional<std::string> Utf8FromUtf16(std::string_view bytes,
                                                       std::size_t* badAt = nullptr);

// The other way; nothing when `text` is no well-formed UTF-8.
[[nodiscard]] std::optional<std::string> Utf16FromUtf8(std::string_view text);

}  // namespace corvane::settings
