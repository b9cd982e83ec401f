#include "SERVICES/Library/LIBAppNotify/NotifyClients.h"

namespace corvane {
namespace {

constexpr std::int32_t kNoActivityFile = 2;

}  // namespace

std::int32_t NotifyClients(const ConnectorMessage*, const std::string&, const std::string&,
                           const std::string&, std::int32_t, const std::string&, std::int32_t,
                           const std::string&, const std::string&, const char*, std::int32_t,
                           const char*, std::int32_t) {
  return kNoActivityFile;
}

}  // namespace corvane
