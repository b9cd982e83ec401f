// ConfigurationSchema.h -- the tables of the configuration store.
//
//   postoffice    name, status (1 enabled, 0 disabled)
//   mailbox       postoffice, name, status, quota in KB (NULL for none), redirect (address items
//                 joined by ";"), redirect_status (0 none, 1 redirect only, 2 keep a copy too)
//   mailgroup     postoffice, name, status
//   member        mailgroup, item (an address item); members come in the order of their numbers
//   domain        name
//   address_map   item ("[SF:postoffice/mailbox]"), address ("[SMTP:...]"); an item's first address
//                 is the one it is known by
//   option        kind (1 postoffice, 2 mailbox), key, name, value
//
// Names are bytes and compare without regard to the case of ASCII letters. What hangs on a
// postoffice or a group goes with it.
#pragma once

#include "platform/Database.h"

namespace corvane::configuration {

// Makes the tables in an open database unless they are there. False on failure.
[[nodiscard]] bool CreateTables(platform::Database& database);

enum class StoreForm : std::uint8_t { kSound, kEmpty, kForeign, kFailed };

// Whether the database holds these tables; kEmpty when it holds nothing at all.
[[nodiscard]] StoreForm FormOf(platform::Database& database);

}  // namespace corvane::configuration
