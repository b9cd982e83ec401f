// ClusterRole.h -- whether this server may sweep the queue in this pass.
//
// No election is built yet: the role is always held, as in Mode 2. Servers that share a queue are
// kept apart by the claim of each message. Belongs to the poller thread.
#pragma once

#include <cstdint>

namespace corvane {

class ClusterRole {
 public:
  enum Mode : std::int32_t { kElection = 1, kNoElection = 2, kElectionPassedOn = 3 };

  // Reads the settings of `serviceName`. 1, or 2 when this server takes part in no election.
  std::int32_t Load(const char* serviceName);
  // 1 when this server may sweep; 0 when not, with the system error in `error`.
  [[nodiscard]] std::int32_t TryAcquire(std::int32_t& error);
  void Release();
  [[nodiscard]] std::int32_t ClusterMode() const { return mode_; }

 private:
  std::int32_t mode_ = kNoElection;
  bool held_ = false;
};

}  // namespace corvane
