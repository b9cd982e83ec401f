// MessageFiles.cpp -- a message file of any bytes through both readers of the index.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "SERVICES/Library/LIBMessageIndex/ParseMessage.h"

namespace {

// A directory of the run's own.
std::string MakeFileName() {
  std::string pattern = (std::filesystem::temp_directory_path() / "fuzz-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) std::abort();
  return pattern + "/message.MAI";
}

void Check(std::int32_t result, const corvane::MessageHeaders& headers) {
  if (result == 0) return;
  for (std::string_view date : {headers.Received.View(), headers.MessageDate.View()}) {
    if (!date.empty() && date.size() != 19) __builtin_trap();
  }
  if (headers.Attachments > 1 || headers.Importance <= 0 || headers.Headers.empty() ||
      headers.From.View().size() > 511 || headers.Subject.View().size() > 1023 ||
      headers.To.find('\0') != std::string::npos) {
    __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path = MakeFileName();
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  corvane::MessageHeaders mime;
  Check(corvane::ParseMessageMime(path, mime), mime);
  corvane::MessageHeaders lines;
  Check(corvane::ParseMessageLines(path, lines, true, true, corvane::kVerifyAttachments, false),
        lines);
  return 0;
}
