// MailboxSpamSettings.h -- what a mailbox wants done with spam of each level.
#pragma once

#include <cstdint>
#include <string>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "connector/delivery/MessageFlags.h"
#include "connector/queue/ConnectorMessage.h"

namespace corvane {

inline constexpr std::int32_t kDeleteDeliveredCopy = 2;

// Carries out the mailbox's action on the delivered copy. kDeleteDeliveredCopy, or 0. Nothing
// unless `Process Mailbox Spam Filters` is set.
//
// The actions are not built yet: with the setting on, the debug log says so.
[[nodiscard]] std::int32_t ProcessMailboxSpamSettings(const MailboxRecord& mailbox,
                                                      const MessageFlags& flags,
                                                      const ConnectorMessage& message,
                                                      const std::string& deliveryFolder);

}  // namespace corvane
