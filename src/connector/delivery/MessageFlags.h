// MessageFlags.h -- what a message is, as its headers tell.
#pragma once

#include <cstdint>

namespace corvane {

struct MessageFlags {
  std::int32_t Junk = 0;
  std::int32_t Bulk = 0;       // automatic or mass mail
  std::int32_t System = 0;     // sent by a postmaster
  std::int32_t SpamLevel = 0;  // 0 none, 1 high, 2 medium, 3 low
  std::int32_t List = 0;       // mailing list mail
};

}  // namespace corvane
