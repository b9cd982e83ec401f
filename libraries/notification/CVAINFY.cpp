// CVAINFY.cpp -- signals to the services of this machine.
//
// A service that takes signals listens on a Unix datagram socket in the run directory, under its
// protocol word: "MTA" is reached at <run directory>/MTA.sock. A signal is one datagram, the text
// without its NUL; it is handed over at once or not at all. Other machines are not reached by this
// library. Any thread.
#include <cstdint>
#include <string>
#include <string_view>

#include "common/ExportGuard.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"
#include "platform/LocalSignal.h"
#include "platform/Machine.h"
#include "platform/Path.h"

namespace {

namespace platform = corvane::platform;

bool IsThisMachine(std::string_view server) {
  return server.empty() || platform::EqualsNoCase(server, platform::ComputerName());
}

// 0: a service took it. Otherwise the layer's number for what was wrong: 2 no service there, 32 its
// queue is full, 64 another machine, 123 no name of a service.
std::int32_t Signal(std::string_view server, std::string_view protocol, std::string_view text) {
  if (!IsThisMachine(server)) return platform::kErrorNetworkNameGone;
  if (!platform::IsSafeName(protocol)) return platform::kErrorInvalidName;
  const std::string directory = corvane::settings::Get(corvane::settings::kRunDirectory);
  const std::string socket = platform::JoinPath(directory, std::string(protocol) + ".sock");
  return platform::SendLocalSignal(socket, text) ? platform::kErrorNone : platform::LastError();
}

}  // namespace

extern "C" [[gnu::visibility("default")]] std::int32_t NotifyRemote(const char* server,
                                                                    const char* protocol,
                                                                    const char* text) {
  if (protocol == nullptr || text == nullptr) return platform::kErrorInvalidParameter;
  return corvane::GuardExport("NotifyRemote", platform::kErrorNotEnoughMemory, [&] {
    return Signal(server == nullptr ? "" : server, protocol, text);
  });
}
