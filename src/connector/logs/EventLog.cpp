#include "connector/logs/Logs.h"
#include "platform/Error.h"
#include "platform/Format.h"
#include "platform/Machine.h"
#include "platform/Reports.h"

namespace corvane {
namespace {

constexpr const char* kServiceText = "Corvane Postoffice Service";

}  // namespace

void ReportToEventLog(std::int32_t type, const char* source, const char* /*category*/,
                      std::uint32_t eventId, std::string_view text) {
  const platform::KeepLastError keep;
  const bool named = source != nullptr && *source != '\0';
  platform::WriteEventLog(
      named ? source : kReportSource, static_cast<platform::EventType>(type), eventId,
      platform::FormatText("%s (%s) error: %d", kServiceText, platform::ProgramPath().c_str(),
                           platform::LastError()),
      text);
}

}  // namespace corvane
