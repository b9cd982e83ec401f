// IndexReports.h -- reports about index files.
#pragma once

#include <string_view>

namespace corvane {

// To the event log, behind the name of the running program in brackets.
void ReportIndex(std::string_view text);
// The same, and `text` to the debug log.
void LogAndReportIndex(std::string_view text);

}  // namespace corvane
