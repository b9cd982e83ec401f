#include "connector/delivery/RealtimeTraining.h"

#include <atomic>

#include "SERVICES/Library/LIBRPCNotify/ServiceAction.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"

namespace corvane {
namespace {

constexpr const char* kThisComputer = "";
constexpr const char* kAgent = "MTA";
constexpr int kFailuresBorne = 10;

// One for the whole process.
std::atomic<int> failures{0};

void CountOutcome(std::int32_t result) {
  if (result == 0) {
    failures = 0;
  } else if (failures.fetch_add(1) > kFailuresBorne) {
    settings::TurnRealtimeTrainingOff();
  }
}

}  // namespace

void TrainFilter(const ConnectorMessage& message, const std::string& target, bool whitelisted,
                 bool blacklisted) {
  if (!settings::RealtimeTrainingEnabled()) return;
  std::int32_t result = 0;
  if (whitelisted) {
    LogDebugF("[%s] Message submitted as HAM [%s].\n", message.MessageID, target.c_str());
    result = DispatchServiceAction(kThisComputer, kAgent, "TRAIN-HAM", target.c_str());
  }
  if (blacklisted) {
    LogDebugF("[%s] Message submitted as SPAM [%s].\n", message.MessageID, target.c_str());
    result = DispatchServiceAction(kThisComputer, kAgent, "TRAIN-SPAM", target.c_str());
  }
  CountOutcome(result);
}

}  // namespace corvane
