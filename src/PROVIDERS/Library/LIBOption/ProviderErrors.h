// ProviderErrors.h -- why a provider can say nothing. Whoever meets one of these leaves the mail in
// the queue.
#pragma once

#include <stdexcept>

namespace corvane {

// The library is unloaded because the connector stops.
class ProviderUnloaded : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The library has said that its store can't be reached just now.
class StoreUnreachable : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace corvane
