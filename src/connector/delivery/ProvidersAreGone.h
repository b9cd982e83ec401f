// ProvidersAreGone.h -- whether the stop has taken the provider libraries from under a worker.
#pragma once

namespace corvane {

// True once the connector is stopping and the postoffice provider is unloaded: an answer of 0 means
// nothing then, and the message has to stay in the queue for the next start.
[[nodiscard]] bool ProvidersAreGone();

}  // namespace corvane
