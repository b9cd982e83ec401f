// CommandText.cpp -- a command file of any bytes: read, and its recipients walked and taken apart.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "connector/delivery/ParsedAddress.h"
#include "connector/queue/OutgoingCommandFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  corvane::ConnectorMessage message;
  static_cast<void>(
      corvane::ParseOutgoingCommandText({reinterpret_cast<const char*>(data), size}, message));
  corvane::RecipientWalker recipients(message.Recipients);
  std::size_t walked = 0;
  while (const auto item = recipients.Next()) {
    ++walked;
    const corvane::RecipientNames names = corvane::SplitRecipient(*item);
    if (names.closed && names.name.empty()) __builtin_trap();
    static_cast<void>(corvane::ParsedAddress::Parse(*item));
  }
  if (walked != recipients.Count()) __builtin_trap();
  return 0;
}
