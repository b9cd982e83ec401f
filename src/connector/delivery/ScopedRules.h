// ScopedRules.h -- the rules of the postoffice and of the mailbox, where they are switched on.
//
// They run on the queue's message file, before it is copied, so that a rule can add headers for
// this and every later recipient.
#pragma once

#include <cstdint>
#include <string>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "connector/queue/ConnectorMessage.h"

namespace corvane {

// Both answer 0 where rules are switched off, for the connector or for this postoffice or mailbox;
// otherwise what ProcessScopedFilters answers (ProcessScopedFilters.h).
[[nodiscard]] std::int32_t ProcessPostofficeRules(const std::string& postoffice,
                                                  ConnectorMessage& message);
[[nodiscard]] std::int32_t ProcessMailboxRules(const MailboxRecord& mailbox,
                                               ConnectorMessage& message);

}  // namespace corvane
