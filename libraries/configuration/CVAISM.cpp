// CVAISM.cpp -- the domains that are served here, out of the configuration store. Any thread.
#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "common/ExportGuard.h"
#include "common/RecordText.h"
#include "configuration/ConfiguredStore.h"
#include "configuration/Lookups.h"

namespace {

using corvane::configuration::Answer;

std::int32_t IsServed(const corvane::DomainRecord& record) {
  const Answer answer =
      corvane::configuration::AskStorePatiently([&](corvane::platform::Database& store) {
        return corvane::configuration::FindDomain(store, corvane::TextOf(record.Domain));
      });
  return answer == Answer::kFound ? 1 : 0;
}

}  // namespace

extern "C" [[gnu::visibility("default")]] std::int32_t SMTPDomainGet(
    corvane::DomainRecord* record) {
  if (record == nullptr) return 0;
  return corvane::GuardExport("SMTPDomainGet", 0, [&] { return IsServed(*record); });
}
