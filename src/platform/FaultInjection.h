// FaultInjection.h -- breaks the file layer on purpose, for tests.
//
// The calls of the layer that change files are counted while a fault is armed; the chosen one fails
// with a given error, or the work stops there as if the process had died. One fault at a time for
// the whole process. Not armed, a call pays one relaxed atomic load.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>

namespace corvane::platform {

// The calls that are counted, each named for what it does to the disk.
enum class FileCall : std::uint8_t {
  kOpen,      // an open that may make a file
  kWrite,     // bytes written
  kCopy,      // bytes copied inside the system
  kTruncate,  // a file cut or extended
  kFlush,     // a file or a directory made durable
  kLink,      // a name given
  kRename,    // a name moved
  kUnlink,    // a name removed
};
inline constexpr std::uint32_t kEveryFileCall = 0xFFFFFFFF;
[[nodiscard]] constexpr std::uint32_t FileCallBit(FileCall call) {
  return 1U << static_cast<unsigned>(call);
}

enum class FaultAction : std::uint8_t {
  kFail,   // the call fails with `error` and does nothing
  kThrow,  // FaultStop is thrown; until DisarmFault the layer cleans nothing up, as the dead don't
  kKill,   // the process dies at once, as by kill -9
};

struct Fault {
  std::uint64_t number = 1;                 // which of the counted calls, from 1
  FaultAction action = FaultAction::kFail;  //
  std::int32_t error = 0;                   // of kFail, a number of Error.h such as 112
  std::uint32_t calls = kEveryFileCall;     // FileCallBit of each kind to count
  bool lasting = false;                     // kFail: every later call fails too
};

// What a kThrow fault throws.
class FaultStop : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "stopped by a test"; }
};

// Any thread. Arming starts the count anew. A fault whose number never comes counts only, which
// tells a test how many places there are to break.
void ArmFault(const Fault& fault);
void DisarmFault();
[[nodiscard]] std::uint64_t CountedFileCalls();

namespace fault {

extern std::atomic<bool> armed;
[[nodiscard]] bool MeetArmed(FileCall call);

// For the layer: true when this call has to fail now; errno is set then.
[[nodiscard]] inline bool Meet(FileCall call) {
  return armed.load(std::memory_order_relaxed) && MeetArmed(call);
}
// For the layer: whether work was stopped, so that nothing may be cleaned up.
[[nodiscard]] bool Stopped();

}  // namespace fault
}  // namespace corvane::platform
