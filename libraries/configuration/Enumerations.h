// Enumerations.h -- how far each walk over a group's members has come.
//
// The calls that walk have no handle, so a thread's walks are told apart by the group's name;
// several may be under way at once, a group inside another's walk among them. A walk that is begun
// while the same thread walks the same group takes that walk's place: a group that contains itself
// has to be kept from its own walk by the caller. One of these for a thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvane::configuration {

class Enumerations {
 public:
  // The number of the last member handed out, to be moved on by the caller: 0 for a walk begun
  // anew, null for a group that isn't being walked. Valid until the next call.
  [[nodiscard]] std::int64_t* Begin(std::string_view postoffice, std::string_view group);
  [[nodiscard]] std::int64_t* Find(std::string_view postoffice, std::string_view group);
  void End(std::string_view postoffice, std::string_view group);

 private:
  struct Walk {
    std::string postoffice;
    std::string group;
    std::int64_t last = 0;
  };
  std::vector<Walk> walks_;  // the one begun last stands last
};

}  // namespace corvane::configuration
