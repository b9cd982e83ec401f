#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexScan.h"

#include <algorithm>
#include <utility>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"

namespace corvane::indexscan {
namespace {

constexpr std::string_view kElement = indexformat::kElementStart.substr(1);

// Where the word stands next; npos without one. A block is looked at for its first and its last
// letter: most of a large file is passed over here.
std::size_t FindElementWord(std::string_view text, std::size_t from) {
  constexpr std::size_t kToLast = kElement.size() - 1;
  for (; from + kBlockSize + kToLast <= text.size(); from += kBlockSize) {
    const Block::Places first = Block(text.data() + from).Of(kElement.front());
    const Block::Places last = Block(text.data() + from + kToLast).Of(kElement.back());
    if (((first.low & last.low) | (first.high & last.high)) == 0) continue;
    const std::size_t at = text.substr(from, kBlockSize + kToLast).find(kElement);
    if (at != text.npos) return from + at;
  }
  return text.find(kElement, from);
}

}  // namespace

ExpectedTag::ExpectedTag(std::string tag) : tag_(std::move(tag)) {
  const std::size_t size = std::min(tag_.size(), sizeof words_);
  std::memcpy(words_, tag_.data(), size);
  std::memset(used_, 0xFF, size);
}

// Behind a ">" a tag begins anew, whatever stood before; and where the word doesn't stand there is
// no tag of an element or of the root.
std::size_t EndOfElement(std::string_view text, std::size_t from) {
  constexpr std::string_view kBefore = "></";
  const std::size_t at = FindElementWord(text, from);
  if (at == text.npos || at - from < kBefore.size()) return text.npos;
  const std::size_t tag = at - kBefore.size();
  return BeginsWith(text.substr(tag), kBefore) && text.substr(at + kElement.size(), 1) == ">"
             ? at + kElement.size() + 1
             : text.npos;
}

}  // namespace corvane::indexscan
