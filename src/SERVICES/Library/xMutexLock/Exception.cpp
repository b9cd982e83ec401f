#include "SERVICES/Library/xMutexLock/Exception.h"

#include <utility>

namespace corvane {

Exception::Exception(std::string message, std::string file, std::int32_t line)
    : Message(std::move(message)), File(std::move(file)), Line(line), what_(Describe()) {}

Exception::~Exception() = default;

std::string Exception::description() const { return Describe(); }

std::string Exception::Describe() const {
  std::string text = Message;
  if (File.empty() && Line == 0) return text;
  if (!text.empty()) text += ' ';
  text += '(' + File;
  if (Line != 0) text += ':' + std::to_string(Line);
  return text + ')';
}

}  // namespace corvane
