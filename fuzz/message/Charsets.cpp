// Charsets.cpp -- any bytes in any charset; the first two bytes choose it.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "message/CharsetTable.h"
#include "message/Recode.h"
#include "message/Unicode.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  auto rows = corvane::CharsetRows();
  std::string_view charset = rows[(data[0] + 256U * data[1]) % rows.size()].name;
  std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
  std::string utf8;
  bool converted = corvane::RecodeText(charset, text, utf8);
  if (converted && charset != "UTF-8" && !corvane::IsValidUtf8(utf8)) std::abort();
  std::string back;
  corvane::RecodeText("utf-8", utf8, back, charset);
  return 0;
}
