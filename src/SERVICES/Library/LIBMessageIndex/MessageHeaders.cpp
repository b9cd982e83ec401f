#include "SERVICES/Library/LIBMessageIndex/MessageHeaders.h"

#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"
#include "connector/logs/ExceptionReport.h"
#include "platform/FileSystem.h"

namespace corvane {
namespace {

// A character of UTF-8 has at most this many bytes behind its first.
constexpr std::size_t kMostTrailBytes = 3;

bool IsTrailByte(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

}  // namespace

std::string_view CutToSize(std::string_view text, std::size_t size) {
  if (text.size() < size) return text;
  const std::size_t most = size - 1;
  std::size_t end = most;
  while (end > 0 && most - end < kMostTrailBytes && IsTrailByte(text[end])) --end;
  return text.substr(0, IsTrailByte(text[end]) ? most : end);
}

void ClearMessageHeaders(MessageHeaders& headers) {
  ReportAndRethrow("ClearMessageHeaders", CV_HERE, [&] { headers = MessageHeaders(); });
}

void AddFlag(std::string& flags, std::string_view name) {
  std::string flag(name);
  if (!name.starts_with('$') && !name.starts_with('\\')) flag.insert(0, 1, '\\');
  if (PositionNoCase(flags, flag) != std::string_view::npos) return;
  if (!flags.empty()) flags += ' ';
  flags += flag;
}

std::uint32_t ToModifiedDate(std::int64_t lastWriteTime) {
  const platform::DosDateTime dos = platform::ToDosDateTime(lastWriteTime);
  return std::uint32_t{dos.date} << 16U | dos.time;
}

}  // namespace corvane
