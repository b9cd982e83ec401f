#include "SERVICES/Library/LIBStore/StorePaths.h"

#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "connector/settings/ConnectorSettings.h"
#include "connector/settings/Settings.h"

namespace corvane {

std::string GetPostofficeRoot(const std::string& postoffice) {
  if (settings::Get(settings::kAllowCustomPostofficePaths) == 1) {
    char custom[1024] = {};
    GetPostofficeOption(postoffice.c_str(), "PostofficeRoot", custom, sizeof(custom));
    if (custom[0] != '\0') return custom;
  }
  std::string root = settings::MailRoot();
  root.append("\\").append(postoffice);
  return root;
}

}  // namespace corvane
