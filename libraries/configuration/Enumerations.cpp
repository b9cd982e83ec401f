#include "configuration/Enumerations.h"

#include "platform/Path.h"

namespace corvane::configuration {
namespace {

// Far deeper than groups are nested; what is left over of walks that were broken off goes first.
constexpr std::size_t kMostWalks = 64;

}  // namespace

std::int64_t* Enumerations::Begin(std::string_view postoffice, std::string_view group) {
  End(postoffice, group);
  if (walks_.size() == kMostWalks) walks_.erase(walks_.begin());
  walks_.push_back({std::string(postoffice), std::string(group), 0});
  return &walks_.back().last;
}

std::int64_t* Enumerations::Find(std::string_view postoffice, std::string_view group) {
  for (Walk& walk : walks_) {
    if (platform::EqualsNoCase(walk.postoffice, postoffice) &&
        platform::EqualsNoCase(walk.group, group)) {
      return &walk.last;
    }
  }
  return nullptr;
}

void Enumerations::End(std::string_view postoffice, std::string_view group) {
  std::erase_if(walks_, [&](const Walk& walk) {
    return platform::EqualsNoCase(walk.postoffice, postoffice) &&
           platform::EqualsNoCase(walk.group, group);
  });
}

}  // namespace corvane::configuration
