#include "PROVIDERS/Library/LIBOption/OptionProvider.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "connector/logs/ExceptionReport.h"
#include "connector/settings/SettingsSource.h"
#include "platform/HeldLibrary.h"

namespace corvane {
namespace {

// GetOption is not told how much its caller can take. Far more than any option that a library could
// mean to give, and touched only as far as it writes.
constexpr std::size_t kUnboundedOptionSize = 65536;

// Never destroyed: workers may still ask while the process ends.
platform::HeldLibrary& optionLibrary = *new platform::HeldLibrary;

std::int32_t CallUnbounded(GetOptionCall* call, OptionKind kind, const char* key, const char* name,
                           char* buffer, std::size_t size) {
  thread_local const auto answer = std::make_unique_for_overwrite<char[]>(kUnboundedOptionSize);
  // A library that writes no NUL must not give the rest of an older answer.
  std::memset(answer.get(), 0, kUnboundedOptionSize);
  const std::int32_t result = call(static_cast<std::int32_t>(kind), key, name, answer.get());
  const std::size_t length = std::min(strnlen(answer.get(), kUnboundedOptionSize), size - 1);
  std::memcpy(buffer, answer.get(), length);
  buffer[length] = '\0';
  return result;
}

}  // namespace

bool InitializeOptionProvider() {
  return ReportAndRethrow("InitializeOptionProvider", CV_HERE, [] {
    if (optionLibrary.Hold()) return true;
    char directory[1024];
    settings::GetLibraryDirectory(directory, sizeof directory);
    return optionLibrary.Load(directory, kOptionProvider);
  });
}

void UnloadOptionProvider() { optionLibrary.Unload(); }

std::int32_t GetOptionText(OptionKind kind, const char* key, const char* name, char* buffer,
                           std::size_t size) {
  if (size == 0) return 0;
  buffer[0] = '\0';
  if (!InitializeOptionProvider()) return 0;
  const std::shared_ptr<const platform::Library> library = optionLibrary.Hold();
  if (!library) return 0;
  auto* getOption = library->Find<GetOptionCall>("GetOption");
  if (getOption == nullptr) return 0;
  std::int32_t result = 0;
  if (auto* getOptionEx = library->Find<GetOptionExCall>("GetOption_Ex")) {
    constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
    result = getOptionEx(static_cast<std::int32_t>(kind), key, name, buffer,
                         static_cast<std::int32_t>(std::min(size, kMost)));
    buffer[size - 1] = '\0';
  } else {
    result = CallUnbounded(getOption, kind, key, name, buffer, size);
  }
  if (result == 0) buffer[0] = '\0';
  if (result == kProviderUnreachable && buffer[0] == '\0') {
    throw StoreUnreachable(std::string("the option ") + name + " of " + key + " can't be read");
  }
  return result == 0 ? 0 : 1;
}

std::int32_t GetPostofficeOption(const char* postoffice, const char* name, char* buffer,
                                 std::size_t size) {
  return GetOptionText(OptionKind::kPostoffice, postoffice, name, buffer, size);
}

std::int32_t GetMailboxOption(const char* postoffice, const char* mailbox, const char* name,
                              char* buffer, std::size_t size) {
  char key[255];
  std::snprintf(key, sizeof key, "%s/%s", postoffice, mailbox);
  return GetOptionText(OptionKind::kMailbox, key, name, buffer, size);
}

}  // namespace corvane
