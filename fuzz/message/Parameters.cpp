// Parameters.cpp -- the parameters of a part's headers and of a parsed header.
#include "message/Parameters.h"

#include <cstdint>
#include <string>
#include <tuple>

#include "message/HeaderList.h"
#include "message/MimePart.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string value(reinterpret_cast<const char*>(data), size);
  for (bool utf8 : {false, true}) std::ignore = corvane::ParseHeaderParameters(value, utf8);
  for (bool guess : {false, true}) {
    std::ignore = corvane::FindExtendedParameter(value, "name", guess);
  }
  corvane::Text headers = "Content-Type: " + value + "\r\nContent-Disposition: " + value;
  corvane::MimePart part;
  corvane::ReadPartHeaders(headers, headers, part);
  return 0;
}
