#include "connector/service/ClusterRole.h"

namespace corvane {

std::int32_t ClusterRole::Load(const char* /*serviceName*/) {
  mode_ = kNoElection;
  return 2;
}

std::int32_t ClusterRole::TryAcquire(std::int32_t& error) {
  error = 0;
  held_ = true;
  return 1;
}

void ClusterRole::Release() { held_ = false; }

}  // namespace corvane
