// Stages.h -- what the stages around a delivery answer in these tests.
//
// Stages.cpp holds the stages themselves, in place of the real ones: each tells its call in the
// debug log, in a line that begins with "> ", and answers what stands here.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "connector/delivery/MessageFlags.h"

namespace corvane::test {

struct Stages {
  bool tellAll = false;  // also the calls that every delivery makes

  std::int32_t postofficeRules = 0;
  std::int32_t mailboxRules = 0;
  std::function<void()> duringRules = {};  // of either
  MessageFlags flags = {};
  bool blacklisted = false;
  bool whitelisted = false;
  bool redirectsRemoved = false;  // by the redirection blacklist
  std::string redirectsLeft = {};
  std::int32_t redirected = 1;
  std::int32_t deliveryEvent = 0;
  bool eventRemovesFile = false;
  std::int32_t spamSettings = 0;
  std::int32_t dsn = 0;
  std::int32_t group = 1;
};

// Of the running test.
extern Stages stages;

}  // namespace corvane::test
