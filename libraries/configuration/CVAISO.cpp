// CVAISO.cpp -- options of postoffices and mailboxes, out of the configuration store. Any thread.
#include <string>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "common/ExportGuard.h"
#include "common/RecordText.h"
#include "configuration/ConfiguredStore.h"
#include "configuration/Lookups.h"

namespace {

using corvane::configuration::Answer;

// What a caller of GetOption must have room for, its NUL included: the widest text of any record.
constexpr std::int32_t kUnstatedSize = 1024;

std::int32_t ReadOption(std::int32_t kind, const char* key, const char* name, char* buffer,
                        std::int32_t size) {
  if (key == nullptr || name == nullptr || buffer == nullptr || size <= 0) return 0;
  buffer[0] = '\0';
  std::string value;
  const Answer answer =
      corvane::configuration::AskStorePatiently([&](corvane::platform::Database& store) {
        return corvane::configuration::FindOption(store, kind, key, name, value);
      });
  if (answer == Answer::kUnreachable) return corvane::kProviderUnreachable;
  if (answer == Answer::kUnknown) return 0;
  corvane::CopyText(buffer, static_cast<std::size_t>(size), value);
  return 1;
}

}  // namespace

extern "C" {

[[gnu::visibility("default")]] std::int32_t GetOption_Ex(std::int32_t kind, const char* key,
                                                         const char* name, char* buffer,
                                                         std::int32_t size) {
  return corvane::GuardExport("GetOption_Ex", corvane::kProviderUnreachable,
                              [&] { return ReadOption(kind, key, name, buffer, size); });
}

[[gnu::visibility("default")]] std::int32_t GetOption(std::int32_t kind, const char* key,
                                                      const char* name, char* buffer) {
  return corvane::GuardExport("GetOption", corvane::kProviderUnreachable,
                              [&] { return ReadOption(kind, key, name, buffer, kUnstatedSize); });
}

}  // extern "C"
