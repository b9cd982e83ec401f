// EncodedWords.cpp -- encoded words; the first bytes choose the switches and the target.
#include "message/EncodedWords.h"

#include <cstdint>
#include <cstdlib>
#include <string>

#include "message/CharsetTable.h"
#include "message/Unicode.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
  auto rows = corvane::CharsetRows();
  std::u16string wide;
  corvane::DecodeEncodedWords(text, wide, (data[0] & 1) != 0, rows[data[1] % rows.size()].name,
                              (data[0] & 2) != 0, (data[0] & 4) != 0);
  if (!corvane::IsValidUtf8(corvane::DecodeEncodedWordsToUtf8(text))) std::abort();
  if (corvane::JoinEncodedWords(text).size() > text.size()) std::abort();
  return 0;
}
