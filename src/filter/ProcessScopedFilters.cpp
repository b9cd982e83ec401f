#include "filter/ProcessScopedFilters.h"

#include "connector/logs/Logs.h"

namespace corvane {

std::int32_t ProcessScopedFilters(const char* postoffice, const char* mailbox,
                                  const char* messageId, char* resultText, std::size_t resultSize) {
  if (resultSize > 0) resultText[0] = '\0';
  LogDebugF("[%s] This build has no rules; those of %s%s%s were not run.\n", messageId, postoffice,
            mailbox == nullptr ? "" : "/", mailbox == nullptr ? "" : mailbox);
  return kNoFilterRan;
}

}  // namespace corvane
