#include <algorithm>
#include <atomic>
#include <utility>

#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"

namespace corvane {
namespace {

using ModeSource = std::uint32_t (*)();
std::atomic<ModeSource> modeSource{nullptr};

struct Replacement {
  std::string_view find;
  std::string_view with;
  std::int32_t limit;
  bool exactCase;

  [[nodiscard]] std::size_t Next(std::string_view text, std::size_t from) const {
    return exactCase ? text.find(find, from) : PositionNoCase(text, find, from);
  }
};

// One pass into a second buffer: the cost doesn't grow with the number of replacements.
std::int32_t Append(std::string& text, const Replacement& replacement) {
  std::string result;
  std::size_t taken = 0;
  std::int32_t made = 0;
  for (std::size_t at = replacement.Next(text, 0);
       at != std::string::npos && made < replacement.limit; ++made) {
    result.append(text, taken, at - taken).append(replacement.with);
    taken = at + replacement.find.size();
    at = replacement.Next(text, taken);
  }
  if (made > 0) text = std::move(result.append(text, taken));
  return made;
}

std::int32_t InPlace(std::string& text, const Replacement& replacement, bool rescan) {
  // What a replacement brings about can begin as far to its left as this.
  const std::size_t before = replacement.find.size() - 1;
  std::int32_t made = 0;
  for (std::size_t at = replacement.Next(text, 0);
       at != std::string::npos && made < replacement.limit; ++made) {
    text.replace(at, replacement.find.size(), replacement.with);
    const std::size_t from = rescan ? at - std::min(at, before) : at + replacement.with.size();
    at = replacement.Next(text, from);
  }
  return made;
}

}  // namespace

void SetBufferAppendModeSource(std::uint32_t (*read)()) { modeSource = read; }

std::int32_t ReplaceAll(std::string& text, std::string_view find, std::string_view replacement,
                        std::int32_t limit, bool rescan, bool exactCase) {
  if (find.empty()) return 0;
  const ModeSource source = modeSource;
  const bool append = source == nullptr || source() != 0;
  Replacement work{find, replacement, limit > 0 ? limit : INT32_MAX, exactCase};
  // A replacement that brings its own occurrence would be found again for ever.
  const bool again = rescan && work.Next(replacement, 0) == std::string_view::npos;
  if (again) work.limit = std::min(work.limit, kMaximumReplacements);
  return append && !again ? Append(text, work) : InPlace(text, work, again);
}

}  // namespace corvane
