#include "SERVICES/Library/LIBStore/StorePaths.h"

#include <stdexcept>

#include "PROVIDERS/Library/LIBOption/OptionProvider.h"
#include "connector/settings/ConnectorSettings.h"
#include "connector/settings/Settings.h"

namespace corvane {

std::string GetPostofficeRoot(const std::string& postoffice) {
  if (settings::Get(settings::kAllowCustomPostofficePaths) == 1) {
    char custom[1024] = {};
    const std::int32_t answer =
        GetPostofficeOption(postoffice.c_str(), "PostofficeRoot", custom, sizeof(custom));
    if (answer < 0)
      throw std::runtime_error("the root of postoffice " + postoffice + " can't be read");
    if (custom[0] != '\0') return custom;
  }
  std::string root = settings::MailRoot();
  root.append("\\").append(postoffice);
  return root;
}

}  // namespace corvane
