// IndexKeySet.h -- names of items or files that are asked for one by one.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>

namespace corvane {

struct KeyHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view key) const { return std::hash<std::string_view>()(key); }
};
using IndexKeySet = std::unordered_set<std::string, KeyHash, std::equal_to<>>;
// The IDs of a filter, which is a list with commas; none admits all.
[[nodiscard]] IndexKeySet MakeKeySet(std::string_view keyFilter);

}  // namespace corvane
