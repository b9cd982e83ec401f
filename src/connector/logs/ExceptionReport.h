// ExceptionReport.h -- the one place where exceptions are caught, told and sent on.
//
// At the top of a unit of work:
//
//   return ReportAndRethrow("NotifyClients", CV_HERE, [&] { return NotifyConnections(list); });
//
// An exception out of the body goes to the event log and the debug log in the form that fits it
// and is thrown on. EndException is for the one caller that ends the matter with texts of its own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace corvane {

// Where a report says that an exception occurred.
struct SourcePlace {
  const char* file;  // as the compiler names it; reports show the name without path and extension
  int line;
};
#define CV_HERE \
  ::corvane::SourcePlace { __FILE__, __LINE__ }

// A failure of a component that speaks in result codes: an XML document, a script.
class ComError {
 public:
  ComError(std::uint32_t code, std::string meaning, std::string source, std::string description)
      : Code(code),
        Meaning(std::move(meaning)),
        Source(std::move(source)),
        Description(std::move(description)) {}

  std::uint32_t Code;
  std::string Meaning;  // the system's text for the code
  std::string Source;
  std::string Description;
};

// What is known of an exception.
struct ExceptionDetails {
  enum class Kind : std::uint8_t { kUnknown, kText, kComError };
  Kind kind = Kind::kUnknown;
  std::string text;  // kText
  std::string
      comCodeLines;        // kComError: the four lines "Code = 0x..." to "Error Description = ..."
  std::uint32_t code = 0;  // kComError
};

// Of the exception being handled; to be called inside a handler only.
[[nodiscard]] ExceptionDetails DescribeCurrentException();

// The report of the connector about it: `name` and what happened, in one of the three forms.
[[nodiscard]] std::string FormatExceptionReport(std::string_view name, SourcePlace place,
                                                const ExceptionDetails& details);

// Event log (information, source Corvane) and debug log. Never throws.
void ReportException(std::string_view text) noexcept;
// The debug log alone. Never throws.
void LogDebugQuietly(std::string_view text) noexcept;

// Runs `body`; an exception out of it is reported and thrown on.
template <typename Body>
auto ReportAndRethrow(std::string_view name, SourcePlace place, Body&& body) -> decltype(body()) {
  try {
    return body();
  } catch (...) {
    ReportException(FormatExceptionReport(name, place, DescribeCurrentException()));
    throw;
  }
}

// Runs `body`; an exception out of it goes to `onException` and ends there. True when there was
// none.
template <typename Body, typename Handler>
bool EndException(Body&& body, Handler&& onException) {
  try {
    body();
    return true;
  } catch (...) {
    onException(DescribeCurrentException());
    return false;
  }
}

}  // namespace corvane
