// MessageTestSupport.h -- what the tests of the message library share.
#pragma once

#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "message/Ascii.h"

namespace corvane::test {

// The lines of a table file of tests/message/data as fields, without those that begin with '#'.
[[nodiscard]] inline std::vector<std::vector<std::string>> ReadTable(const std::string& name) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream file(CORVANE_MESSAGE_TESTS "/data/" + name);
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream stream(line);
    std::vector<std::string>& row = rows.emplace_back();
    for (std::string field; std::getline(stream, field, '\t');) row.push_back(field);
  }
  return rows;
}

[[nodiscard]] inline std::string FromHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<char>(HexValue(hex[i]) * 16 + HexValue(hex[i + 1])));
  }
  return bytes;
}

// Bytes of a repeatable random text.
[[nodiscard]] inline std::string RandomBytes(unsigned seed, std::size_t size) {
  std::minstd_rand random(seed);
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(random() >> 8);
  return bytes;
}

}  // namespace corvane::test
