#include "CLIENTS/CVMAPI/CVMSLIB/common/Identifiers.h"

#include <algorithm>
#include <cstring>

#include "platform/Machine.h"

namespace corvane {

std::string NewMessageId() {
  constexpr const char* kDigits = "0123456789ABCDEF";
  std::string id;
  id.reserve(kMessageIdBytes);
  for (const std::uint8_t byte : platform::NewIdentifier()) {
    id += kDigits[byte >> 4];
    id += kDigits[byte & 0x0F];
  }
  return id + ".MAI";
}

std::int32_t NewMessageId(char* buffer, std::size_t size) {
  if (size == 0) return 0;
  if (size <= kMessageIdBytes) {
    *buffer = '\0';
    return 0;
  }
  const std::string id = NewMessageId();
  std::memcpy(buffer, id.c_str(), id.size() + 1);
  return 1;
}

std::int32_t GetServerName(char* buffer, std::size_t size) {
  if (size == 0) return 0;
  const std::string& name = platform::ComputerName();
  const std::size_t length = std::min(name.size(), size - 1);
  std::memcpy(buffer, name.data(), length);
  buffer[length] = '\0';
  return 1;
}

}  // namespace corvane
