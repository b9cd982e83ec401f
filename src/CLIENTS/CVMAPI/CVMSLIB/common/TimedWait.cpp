#include "CLIENTS/CVMAPI/CVMSLIB/common/TimedWait.h"

#include "platform/Clock.h"

namespace corvane {

void TimedWait(std::uint32_t milliseconds) { platform::SleepFor(milliseconds); }

}  // namespace corvane
