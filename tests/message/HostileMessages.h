// HostileMessages.h -- messages built to cost time or memory, and everything a reader does with
// one.
//
// The tests bound what they take in memory, the bench shows what they take in time.
#pragma once

#include <string>
#include <vector>

#include "message/Text.h"

namespace corvane::test {

struct HostileMessage {
  const char* name;
  std::string (*make)();
};

[[nodiscard]] const std::vector<HostileMessage>& HostileMessages();

// Loads the message, reads its headers, parts and bodies.
void ReadEverything(Text text);

}  // namespace corvane::test
