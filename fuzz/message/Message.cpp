// Message.cpp -- a whole message, read in every way.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "message/MimeMessage.h"

using corvane::MimeMessage;
using corvane::MimePart;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  for (bool keepStructure : {false, true}) {
    MimeMessage message;
    message.Load(text, false, true, false);
    message.ParseHeaders(message.Headers, false);
    message.ParseParts(keepStructure);
    if (message.PartList.size() > corvane::kMaximumParts + 1) std::abort();
    for (MimePart part : message.PartList) DecodePart(part);
    std::string body;
    message.GetTextBody(body, "UTF-8", true);
    message.GetHtmlBody(body, "UTF-8", true);
    message.Build();
    message.ParseParts(keepStructure);
  }
  return 0;
}
