#include "tests/message/MessageTestSupport.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "message/Ascii.h"

namespace corvane::test {
namespace {

std::filesystem::path TestFolder() { return CORVANE_MESSAGE_TESTS; }

}  // namespace

std::string DataFile(std::string_view name) { return (TestFolder() / "data" / name).string(); }

std::vector<std::vector<std::string>> ReadTable(const std::string& path) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream stream(line);
    std::vector<std::string>& row = rows.emplace_back();
    for (std::string field; std::getline(stream, field, '\t');) row.push_back(field);
  }
  return rows;
}

std::string FromHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<char>(HexValue(hex[i]) * 16 + HexValue(hex[i + 1])));
  }
  return bytes;
}

std::string RandomBytes(unsigned seed, std::size_t size) {
  std::minstd_rand random(seed);
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(random() >> 8);
  return bytes;
}

}  // namespace corvane::test
