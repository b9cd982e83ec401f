#include "SERVICES/Library/LIBMessageIndex/FolderBrand.h"

#include "platform/FileSystem.h"

namespace corvane {
namespace {

// Up to this second a brand is the low half of the time as a count of 100 ns since 1601; behind it,
// the second.
constexpr std::int64_t kLastCountedSecond = 1'396'310'400;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
constexpr std::int64_t kCountsPerSecond = 10'000'000;

}  // namespace

std::uint32_t FolderBrand(std::string_view folder) {
  if (!platform::DirectoryExists(folder)) return 0;
  const auto created = platform::GetCreationTime(folder);
  if (!created) return 0;
  if (*created > kLastCountedSecond) return static_cast<std::uint32_t>(*created);
  return static_cast<std::uint32_t>((*created + kSecondsFrom1601To1970) * kCountsPerSecond);
}

}  // namespace corvane
