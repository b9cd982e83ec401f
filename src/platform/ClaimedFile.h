// ClaimedFile.h -- opens a file and claims it, as one step. Inside the layer only.
//
// After the claim is held the path is looked at again: when it names another file by then, or none,
// the whole begins anew. All paths are system paths in the spelling that is on disk; results are
// error numbers, 0 for success.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>

#include "platform/File.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {

struct ClaimedFile {
  sys::Descriptor descriptor;
  struct stat state = {};  // as of after the claim
  bool mayWrite = false;   // whether the descriptor itself can be written to
};

struct ClaimRequest {
  Access access = Access::kRead;
  Share share;
  bool make = false;  // when it isn't there
};

// Opens and claims for use. 2, 5, 19, 32 ...
[[nodiscard]] std::int32_t OpenClaimed(const std::string& path, const ClaimRequest& request,
                                       ClaimedFile* file);

// Opens and claims a file whose name is about to be removed or replaced; nobody can then open it in
// a way that forbids this, nor do the same to it. 5 for a directory. A file that may not be written
// to (`mayWrite` false) is held too, but two may then be at it at once.
[[nodiscard]] std::int32_t OpenForDeletion(const std::string& path, ClaimedFile* file);

}  // namespace corvane::platform
