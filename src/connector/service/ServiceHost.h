// ServiceHost.h -- the thin shell around the poller: command line, service manager, signals.
//
//   -install   place the service with the service manager, end
//   -remove    stop it and take it away, end
//   -debug     run in the foreground until SIGINT or SIGTERM; a second one ends it at once
//   otherwise  run as the service that the service manager has started
//
// An argument may begin with '-' or '/' and is read in any case; the first one alone counts.
#pragma once

#include "connector/service/ServiceRun.h"

namespace corvane {

// The whole of the program. Returns as soon as the stop routine is through: 0, or 1 when there is
// no service manager to run under or an exception ended the run. The poller and workers may still
// be at work then, so the caller ends the process without taking anything down. Main thread, before
// any other is started.
[[nodiscard]] int RunServiceHost(int argc, char** argv, const ServiceHooks& hooks);

}  // namespace corvane
