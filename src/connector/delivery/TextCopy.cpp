#include "connector/delivery/TextCopy.h"

namespace corvane {

bool WriteAsText(platform::WholeFile& target, std::string_view text) {
  for (std::size_t end; (end = text.find('\n')) != std::string_view::npos;) {
    if (!target.Write(text.substr(0, end)) || !target.Write("\r\n")) return false;
    text.remove_prefix(end + 1);
  }
  return target.Write(text);
}

bool CopyAsText(platform::TextFile& source, platform::WholeFile& target, std::size_t pieceBytes) {
  while (const auto line = source.ReadLine(pieceBytes)) {
    if (!WriteAsText(target, *line)) return false;
  }
  return !source.Failed();
}

}  // namespace corvane
