#include "connector/logs/ExceptionReport.h"

#include <exception>

#include "connector/logs/Logs.h"
#include "platform/Format.h"

namespace corvane {
namespace {

std::string OccurredIn(SourcePlace place) {
  std::string_view file(place.file);
  file.remove_prefix(file.find_last_of("/\\") + 1);
  file = file.substr(0, file.find('.'));
  return "The exception occurred in : " + std::string(file) + ", line " +
         std::to_string(place.line) + "\n";
}

std::string CodeLines(const ComError& error) {
  return platform::FormatText(
      "Code = 0x%08x\nCode meaning = %s\nSource = %s\nError Description = %s\n", error.Code,
      error.Meaning.c_str(), error.Source.c_str(), error.Description.c_str());
}

}  // namespace

ExceptionDetails DescribeCurrentException() {
  using Kind = ExceptionDetails::Kind;
  try {
    throw;
  } catch (const ComError& error) {
    return {Kind::kComError, {}, CodeLines(error), error.Code};
  } catch (const std::exception& exception) {
    return {Kind::kText, exception.what(), {}, 0};
  } catch (...) {
    return {};
  }
}

std::string FormatExceptionReport(std::string_view name, SourcePlace place,
                                  const ExceptionDetails& details) {
  std::string text(name);
  switch (details.kind) {
    case ExceptionDetails::Kind::kComError:
      return text + " handled a COM error.\n" + details.comCodeLines;
    case ExceptionDetails::Kind::kText:
      return text + " handled an exception; session will be dropped.\n" +
             "The exception was: " + details.text + "\n" + OccurredIn(place);
    case ExceptionDetails::Kind::kUnknown:
      break;
  }
  return text + " raised an exception.\n" + OccurredIn(place);
}

void ReportException(std::string_view text) noexcept {
  try {
    ReportToEventLog(kReportInformation, kReportSource, "", kConnectorEventId, text);
  } catch (const std::exception&) {
    // Nobody is left to tell; the exception under way matters more.
  }
  LogDebugQuietly(text);
}

void LogDebugQuietly(std::string_view text) noexcept {
  try {
    LogDebug(text);
  } catch (const std::exception&) {
    // The log has failed; the exception under way matters more.
  }
}

}  // namespace corvane
