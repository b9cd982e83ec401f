// HeaderBlock.cpp -- a header block: parsed, looked up, written, parsed again; and the routines on
// single headers.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "message/HeaderList.h"
#include "message/HeaderText.h"

using corvane::HeaderList;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string block(reinterpret_cast<const char*>(data), size);
  for (bool decode : {false, true}) {
    HeaderList list;
    list.Parse(block, decode);
    for (std::size_t i = 0; i < list.Size(); ++i) {
      std::string value = HeaderList::GetValue(list.At(i));
      if (list.FindFirst(list.At(i).Name) && value.size() > 6 * block.size()) std::abort();
    }
    list.Set("Subject", block);
    HeaderList again;
    again.Parse(list.Serialise(), decode);
  }
  std::string removed;
  corvane::RemoveHeaderFromText(block, "Subject", removed, true);
  if (removed.size() > block.size()) std::abort();
  corvane::AddHeaderToText(block, "Subject:", "x", true);
  std::string value;
  corvane::FindHeaderInText(block, "Subject", value);
  return 0;
}
