#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexKeySet.h"

#include <algorithm>

namespace corvane {

IndexKeySet MakeKeySet(std::string_view keyFilter) {
  IndexKeySet keys;
  while (!keyFilter.empty()) {
    const std::size_t comma = std::min(keyFilter.find(','), keyFilter.size());
    if (comma > 0) keys.emplace(keyFilter.substr(0, comma));
    keyFilter.remove_prefix(std::min(comma + 1, keyFilter.size()));
  }
  return keys;
}

}  // namespace corvane
