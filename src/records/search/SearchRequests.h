// SearchRequests.h -- tells the search indexer what has changed in a mailbox.
#pragma once

#include <string>

namespace corvane {

// One item: `object` is "Item", `verb` "Add". Nothing unless `Mailbox Search Indexing Enabled` is
// set.
//
// Requests are not written yet: with indexing on, the debug log says so.
void RequestSearchItem(const char* object, const std::string& postoffice,
                       const std::string& mailbox, const char* verb, const std::string& folder,
                       const std::string& item);

}  // namespace corvane
