#include "connector/delivery/ScopedRules.h"

#include <cstdlib>

#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "connector/settings/Settings.h"
#include "filter/ProcessScopedFilters.h"
#include "platform/Reports.h"

namespace corvane {
namespace {

constexpr std::size_t kOptionBytes = 1024;
constexpr std::size_t kResultBytes = 2048;

std::int32_t RunFilters(const char* postoffice, const char* mailbox, ConnectorMessage& message) {
  char resultText[kResultBytes] = {};
  // An action can rewrite the message file, and need not have flushed it.
  message.MessageFileFlushed = false;
  const std::int32_t result =
      ProcessScopedFilters(postoffice, mailbox, message.MessageID, resultText, sizeof(resultText));
  if (result != 0) {
    platform::PrintConsoleF("Result: %ld, %s\n", static_cast<long>(result), resultText);
  }
  return result;
}

}  // namespace

std::int32_t ProcessPostofficeRules(const std::string& postoffice, ConnectorMessage& message) {
  if (settings::Get(settings::kProcessPostofficeRules) == 0) return 0;
  char status[kOptionBytes] = {};
  if (GetPostofficeOption(postoffice.c_str(), "Postoffice-PostofficeRulesStatus", status,
                          sizeof(status)) != 1) {
    platform::PrintConsoleF("No Filter Set for Postofffice (%s)\r\n", postoffice.c_str());
    return 0;
  }
  platform::PrintConsoleF("Postoffice Rules Check: [%s]=%s\r\n", postoffice.c_str(), status);
  return std::atoi(status) == 1 ? RunFilters(postoffice.c_str(), nullptr, message) : 0;
}

std::int32_t ProcessMailboxRules(const MailboxRecord& mailbox, ConnectorMessage& message) {
  if (settings::Get(settings::kProcessMailboxRules) == 0) return 0;
  const std::string key = std::string(mailbox.Postoffice) + "/" + mailbox.Mailbox;
  char status[kOptionBytes] = {};
  if (GetMailboxOption(mailbox.Postoffice, mailbox.Mailbox, "MailBox-MailboxRulesStatus", status,
                       sizeof(status)) != 1) {
    platform::PrintConsoleF("No Filter Set for Mailbox (%s)\r\n", key.c_str());
    return 0;
  }
  platform::PrintConsoleF("ProcessMailboxRules [%s]=%s\r\n", key.c_str(), status);
  return std::atoi(status) == 1 ? RunFilters(mailbox.Postoffice, mailbox.Mailbox, message) : 0;
}

}  // namespace corvane
