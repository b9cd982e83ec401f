#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexReports.h"

#include <string>

#include "connector/logs/Logs.h"
#include "platform/Machine.h"
#include "platform/Path.h"

namespace corvane {

void ReportIndex(std::string_view text) {
  const std::string program = platform::ProgramPath();
  std::string report = "[";
  report.append(platform::FileName(program)).append("] ").append(text);
  ReportToEventLog(kReportInformation, kReportSource, "", kConnectorEventId, report);
}

void LogAndReportIndex(std::string_view text) {
  LogDebug(text);
  ReportIndex(text);
}

}  // namespace corvane
