// RemoteNotification.h -- signals to other services, through the notification library CVAINFY.DLL.
//
// Bound once by the poller before any worker runs; after that any thread may signal. Without the
// library messages are delivered without signals.
#pragma once

#include <cstdint>

namespace corvane {

inline constexpr const char* kNotificationProvider = "CVAINFY.DLL";

// Loads the library if it isn't loaded yet and looks its entry up. 1 when bound; otherwise 0 with
// an entry in the event log.
std::int32_t BindRemoteNotification();
[[nodiscard]] bool IsRemoteNotificationBound();
void UnbindRemoteNotification();

// Passes `text` to the service that `protocol` names.
//
//   server    a computer name, empty for this one
//   protocol  the service to reach, such as "MTA"
//
// 0: delivered to the transport, or not bound; any other value: the library failed.
[[nodiscard]] std::int32_t NotifyRemote(const char* server, const char* protocol, const char* text);

}  // namespace corvane
