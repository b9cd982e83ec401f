// ShareClaim.h -- the claim that an open file holds, made of open-file-description locks. Inside
// the layer only.
//
// Seven bytes at a fixed position far behind any content:
//
//   0 accW  1 accR  2 denD  3 accD  4 denR  5 denW  6 gate
//
// An opener locks, shared, what it accesses (acc) and what it forbids to others (den), then looks
// whether somebody else holds the contrary byte: den of what it accesses, acc of what it forbids.
// The order of the bytes makes the usual opens one lock and one look each. Two kinds of claim are
// exclusive locks and so one step each: nothing shared (bytes 0 to 5) and deletion (byte 2, held
// only around an unlink or a rename, so that two of them never work on one name at once).
//
// The gate orders those who found a conflict at first: whoever holds it sees only claims that are
// there to stay, so that two openers who met never both fail for each other's sake.
//
// Results are error numbers: 0, 32, or what the system said.
#pragma once

#include <cstdint>

#include "platform/File.h"

namespace corvane::platform::claim {

// Exclusive locks need a descriptor that may write; without one (`mayWrite` false) kShareNone is
// made of shared locks too. The descriptor must be able to read; after a failure it is to be
// closed.
[[nodiscard]] std::int32_t Take(int descriptor, Access access, Share share, bool mayWrite);

// From more to fewer forbidden uses, without a moment in which the file is free.
[[nodiscard]] std::int32_t Relax(int descriptor, Access access, Share share);

// The right to remove or replace the name of the file. Taken beside the descriptor's own claim if
// it has one.
[[nodiscard]] std::int32_t TakeDeletion(int descriptor, bool mayWrite);
// Gives it back and leaves the claim with `share` as it was before.
void DropDeletion(int descriptor, Share share);

[[nodiscard]] constexpr bool IsExclusive(Share share) {
  return !share.read && !share.write && !share.remove;
}

}  // namespace corvane::platform::claim
