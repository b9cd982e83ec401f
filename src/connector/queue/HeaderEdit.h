// HeaderEdit.h -- how one header of a message file is set: found first, then the file is written
// anew around the change.
//
// Header lines are looked at in pieces of up to 4096 bytes; the body is copied inside the kernel
// and never looked at. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/File.h"
#include "platform/WholeFile.h"

namespace corvane {

// Bytes of the file that a text takes the place of; none of them for an insertion.
struct HeaderEdit {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  std::string text;
};

struct HeaderChange {
  std::string_view name;
  std::string_view value;
  // What has to follow the name in a line that is to be replaced: ": " or ":".
  std::string_view separator;
  // Whether a header block that ends with the file gets its blank line along with a new header.
  bool closesBlock = false;
};

// The edits that set the header, in the order of the file; nothing when it can't be read. Each line
// of that name is replaced together with its folded rest; without one the header comes before the
// blank line, or to the end of a file that has none, with the line end that it lacks. No edits when
// every such line says it already.
[[nodiscard]] std::optional<std::vector<HeaderEdit>> ReplaceHeader(platform::File& file,
                                                                   const HeaderChange& change);
// The header as a new first line.
[[nodiscard]] std::vector<HeaderEdit> PrependHeader(std::string_view name, std::string_view value);

// Writes `source` with the edits as `target`, replacing a file there; its bytes are on the disk
// before its name appears. False also for a target that could not be begun.
[[nodiscard]] bool PutEdited(const platform::File& source, platform::WholeFile target,
                             const std::vector<HeaderEdit>& edits);

}  // namespace corvane
