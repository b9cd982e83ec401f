// MessageTemplates.h -- system messages composed from an administrator's templates.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace corvane {

// Placeholders with their brackets, and what they stand for.
using TemplateTokens = std::map<std::string, std::string>;

// Composes `targetPath` by the template of that name: a MIME message with a text, perhaps an HTML
// text, and the message `originalPath`, if it isn't empty, attached. `messageIdValue` comes with
// its angle brackets. 1 when that was done.
//
// Templates are not built yet: the call says so in the debug log and answers 0, and the caller
// writes its plain form.
[[nodiscard]] std::int32_t BuildTemplateMessage(
    const std::string& templateName, const TemplateTokens& tokens, const std::string& originalPath,
    const std::string& targetPath, const std::string& fromAddress, const std::string& toAddress,
    const std::string& messageIdValue);

}  // namespace corvane
