// CVAIAM.cpp -- the Internet addresses of local items, out of the configuration store. Any thread.
#include <string>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "common/ExportGuard.h"
#include "common/RecordText.h"
#include "configuration/ConfiguredStore.h"
#include "configuration/Lookups.h"

namespace {

using corvane::configuration::Answer;

constexpr std::int32_t kInForce = 1;

std::int32_t GetAddress(corvane::AddressMapRecord& record) {
  std::string address;
  const Answer answer =
      corvane::configuration::AskStorePatiently([&](corvane::platform::Database& store) {
        return corvane::configuration::FindAddress(
            store, corvane::TextOf(record.DestinationAddress), address);
      });
  if (answer != Answer::kFound) return 0;
  corvane::SetText(record.SourceAddress, address);
  record.Status = kInForce;
  return 1;
}

}  // namespace

extern "C" [[gnu::visibility("default")]] std::int32_t AddressMapGet(
    corvane::AddressMapRecord* record) {
  if (record == nullptr) return 0;
  return corvane::GuardExport("AddressMapGet", 0, [&] { return GetAddress(*record); });
}
