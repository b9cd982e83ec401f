#include "connector/delivery/MessageTemplates.h"

#include "connector/logs/Logs.h"

namespace corvane {

std::int32_t BuildTemplateMessage(const std::string& templateName, const TemplateTokens& /*tokens*/,
                                  const std::string& /*originalPath*/,
                                  const std::string& /*targetPath*/,
                                  const std::string& /*fromAddress*/,
                                  const std::string& /*toAddress*/,
                                  const std::string& /*messageIdValue*/) {
  LogDebugF("This build has no message templates; %s is written in its plain form.\n",
            templateName.c_str());
  return 0;
}

}  // namespace corvane
