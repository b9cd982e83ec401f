#include "connector/settings/ProcessState.h"

namespace corvane::settings {
namespace {

std::atomic<std::int32_t> stopFlag{0};
std::atomic<std::int32_t> stoppedFlag{0};
std::atomic<std::int32_t> activeDeliveryThreads{0};

}  // namespace

std::atomic<std::int32_t>& StopFlag() { return stopFlag; }
std::atomic<std::int32_t>& StoppedFlag() { return stoppedFlag; }
std::atomic<std::int32_t>& ActiveDeliveryThreads() { return activeDeliveryThreads; }

}  // namespace corvane::settings
