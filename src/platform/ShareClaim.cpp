#include "platform/ShareClaim.h"

#include <fcntl.h>
#include <sched.h>

#include <cerrno>

#include "platform/Error.h"

namespace corvane::platform::claim {
namespace {

constexpr off_t kBase = off_t{1} << 62;
constexpr unsigned kAccessWrite = 1U << 0;
constexpr unsigned kAccessRead = 1U << 1;
constexpr unsigned kDenyDelete = 1U << 2;
constexpr unsigned kAccessDelete = 1U << 3;
constexpr unsigned kDenyRead = 1U << 4;
constexpr unsigned kDenyWrite = 1U << 5;
constexpr unsigned kWhole = 0x3F;
constexpr unsigned kGate = 1U << 6;
constexpr int kByteCount = 7;

// How often something is tried again that others hold for a few system calls only: the gate, a
// name that is being removed; and a conflict with an opener that is about to withdraw.
constexpr int kPatience = 64;
constexpr int kLooksBehindGate = 16;

// The bytes of a claim, and those that nobody else may hold beside it.
struct Bytes {
  unsigned held = 0;
  unsigned contrary = 0;
};

void Add(Bytes* bytes, unsigned held, unsigned contrary) {
  bytes->held |= held;
  bytes->contrary |= contrary;
}

Bytes BytesOf(Access access, Share share) {
  Bytes bytes;
  if (access != Access::kWrite) Add(&bytes, kAccessRead, kDenyRead);
  if (access != Access::kRead) Add(&bytes, kAccessWrite, kDenyWrite);
  if (!share.read) Add(&bytes, kDenyRead, kAccessRead);
  if (!share.write) Add(&bytes, kDenyWrite, kAccessWrite);
  if (!share.remove) Add(&bytes, kDenyDelete, kAccessDelete);
  return bytes;
}

struct flock Range(short type, int first, int count) {
  struct flock range = {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = kBase + first;
  range.l_len = count;
  return range;
}

// Calls `use(first, count)` for each run of bytes in `mask`; stops at the first false.
template <typename Use>
bool ForEachRun(unsigned mask, Use use) {
  for (int first = 0; first < kByteCount; ++first) {
    if ((mask >> first & 1U) == 0) continue;
    int count = 1;
    while ((mask >> (first + count) & 1U) != 0) ++count;
    if (!use(first, count)) return false;
    first += count;
  }
  return true;
}

bool Set(int descriptor, short type, unsigned mask) {
  return ForEachRun(mask, [&](int first, int count) {
    struct flock range = Range(type, first, count);
    return fcntl(descriptor, F_OFD_SETLK, &range) == 0;
  });
}

// Whether somebody else holds one of the bytes.
bool OthersHold(int descriptor, unsigned mask) {
  return !ForEachRun(mask, [&](int first, int count) {
    struct flock range = Range(F_WRLCK, first, count);
    return fcntl(descriptor, F_OFD_GETLK, &range) == 0 && range.l_type == F_UNLCK;
  });
}

bool IsConflict(int systemError) { return systemError == EAGAIN || systemError == EACCES; }

// Whether what stands in the way of locking `mask` is a lasting exclusive claim.
bool MetWholeClaim(int descriptor, unsigned mask) {
  return !ForEachRun(mask, [&](int first, int count) {
    struct flock range = Range(F_RDLCK, first, count);
    if (fcntl(descriptor, F_OFD_GETLK, &range) != 0) return true;
    return range.l_type == F_UNLCK || range.l_len < 6;
  });
}

enum class Outcome : std::uint8_t { kTaken, kMet, kHopeless, kFailed };

Outcome PlaceAndLook(int descriptor, const Bytes& bytes) {
  if (!Set(descriptor, F_RDLCK, bytes.held)) {
    if (!IsConflict(errno)) return Outcome::kFailed;
    return MetWholeClaim(descriptor, bytes.held) ? Outcome::kHopeless : Outcome::kMet;
  }
  return OthersHold(descriptor, bytes.contrary) ? Outcome::kMet : Outcome::kTaken;
}

// Whether what stands in the way of an exclusive lock on `mask` is gone already or held for a few
// system calls only, as exclusive locks on single bytes are.
bool MetPassingClaim(int descriptor, unsigned mask) {
  return ForEachRun(mask, [&](int first, int count) {
    struct flock range = Range(F_WRLCK, first, count);
    if (fcntl(descriptor, F_OFD_GETLK, &range) != 0) return false;
    return range.l_type == F_UNLCK || (range.l_type == F_WRLCK && range.l_len == 1);
  });
}

std::int32_t TakeExclusive(int descriptor, unsigned mask) {
  for (int attempt = 0;; ++attempt) {
    if (Set(descriptor, F_WRLCK, mask)) return 0;
    if (!IsConflict(errno)) return ErrorFromErrno(errno);
    if (attempt >= kPatience || !MetPassingClaim(descriptor, mask)) return kErrorSharingViolation;
    sched_yield();
  }
}

class Gate {
 public:
  Gate(int descriptor, bool mayWrite) : descriptor_(descriptor) {
    for (int attempt = 0; mayWrite && !held_ && attempt < kPatience; ++attempt) {
      held_ = Set(descriptor_, F_WRLCK, kGate);
      if (!held_) sched_yield();
    }
  }
  ~Gate() {
    if (held_) Set(descriptor_, F_UNLCK, kGate);
  }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

 private:
  int descriptor_;
  bool held_ = false;
};

std::int32_t TakeShared(int descriptor, const Bytes& bytes, bool mayWrite) {
  Outcome outcome = PlaceAndLook(descriptor, bytes);
  if (outcome == Outcome::kTaken) return 0;
  if (outcome == Outcome::kMet) {
    Set(descriptor, F_UNLCK, kWhole);
    Gate gate(descriptor, mayWrite);
    for (int look = 0; outcome == Outcome::kMet && look < kLooksBehindGate; ++look) {
      if (look > 0) sched_yield();
      outcome = PlaceAndLook(descriptor, bytes);
    }
  }
  if (outcome == Outcome::kTaken) return 0;
  return outcome == Outcome::kFailed ? ErrorFromErrno(errno) : kErrorSharingViolation;
}

}  // namespace

std::int32_t Take(int descriptor, Access access, Share share, bool mayWrite) {
  if (mayWrite && IsExclusive(share)) return TakeExclusive(descriptor, kWhole);
  return TakeShared(descriptor, BytesOf(access, share), mayWrite);
}

std::int32_t Relax(int descriptor, Access access, Share share) {
  const unsigned kept = BytesOf(access, share).held;
  // What is kept stays exclusive until the rest is gone.
  const bool done = Set(descriptor, F_UNLCK, kWhole & ~kept) && Set(descriptor, F_RDLCK, kept);
  return done ? 0 : ErrorFromErrno(errno);
}

std::int32_t TakeDeletion(int descriptor, bool mayWrite) {
  if (mayWrite) return TakeExclusive(descriptor, kDenyDelete);
  if (!Set(descriptor, F_RDLCK, kAccessDelete)) {
    return IsConflict(errno) ? kErrorSharingViolation : ErrorFromErrno(errno);
  }
  if (!OthersHold(descriptor, kDenyDelete)) return 0;
  Set(descriptor, F_UNLCK, kAccessDelete);
  return kErrorSharingViolation;
}

void DropDeletion(int descriptor, Share share) {
  Set(descriptor, F_UNLCK, kAccessDelete);
  Set(descriptor, share.remove ? F_UNLCK : F_RDLCK, kDenyDelete);
}

}  // namespace corvane::platform::claim
