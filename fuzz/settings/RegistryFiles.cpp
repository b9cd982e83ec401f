// RegistryFiles.cpp -- a registry file of any bytes: it is read whole, or refused with a line of
// its own.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "connector/settings/RegistryFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto file =
      corvane::settings::ParseRegistryFile({reinterpret_cast<const char*>(data), size});
  if (file.errorLine != 0 && (!file.changes.empty() || file.error.empty())) __builtin_trap();
  return 0;
}
