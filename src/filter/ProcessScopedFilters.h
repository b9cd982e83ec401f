// ProcessScopedFilters.h -- runs the rules of a postoffice or a mailbox over a message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace corvane {

inline constexpr std::int32_t kFiltersRan = 0;         // the message may still go on
inline constexpr std::int32_t kNoFilterRan = 1;        // nothing to run, or the scan refused
inline constexpr std::int32_t kFilterTookMessage = 2;  // it must not be delivered to this mailbox

// One pass over the message file in the outbound queue: the postoffice's rules when `mailbox` is
// null, else the mailbox's. `resultText` receives the last line of what was executed. A postoffice
// rule can remove the message file and still answer kFiltersRan.
//
// Rules are not built yet: the call says so in the debug log and answers kNoFilterRan.
[[nodiscard]] std::int32_t ProcessScopedFilters(const char* postoffice, const char* mailbox,
                                                const char* messageId, char* resultText,
                                                std::size_t resultSize);

}  // namespace corvane
