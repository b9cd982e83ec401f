// MessageTestSupport.h -- what the tests of the message library share.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corvane::test {

// A file of tests/message/data.
[[nodiscard]] std::string DataFile(std::string_view name);

// The lines of a table file as fields, without those that begin with '#'.
[[nodiscard]] std::vector<std::vector<std::string>> ReadTable(const std::string& path);

[[nodiscard]] std::string FromHex(std::string_view hex);

// Bytes of a repeatable random text.
[[nodiscard]] std::string RandomBytes(unsigned seed, std::size_t size);

}  // namespace corvane::test
