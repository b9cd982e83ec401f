// StartReports.h -- what the poller tells when it begins.
//
// Nothing of it stops the connector. What an administrator can mend goes to the event log too,
// since the debug log may be off just when its settings can't be found, and says how.
#pragma once

#include <string>

namespace corvane {

// What looks wrong in the settings, a line each; a store that can't be read.
void ReportSettings();
// A queue out of reach looks like an empty one to a sweep, so the start says which it is.
void ReportQueue(const std::string& directory);
// The settings of the sweep, each with its meaning.
void LogTimings();

}  // namespace corvane
