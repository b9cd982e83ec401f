// Html.cpp -- HTML to text and back.
#include "message/Html.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  std::string stripped = text;
  corvane::StripHtml(stripped);
  if (stripped.size() > text.size()) std::abort();
  corvane::EscapeText(text);
  if (text.find_first_of("<>") != text.npos && text.find("<br>") == text.npos) std::abort();
  return 0;
}
