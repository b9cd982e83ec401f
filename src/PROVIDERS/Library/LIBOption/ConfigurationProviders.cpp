#include "PROVIDERS/Library/LIBOption/ConfigurationProviders.h"

#include <atomic>
#include <memory>
#include <string>

#include "connector/logs/ExceptionReport.h"
#include "connector/settings/ProcessState.h"
#include "connector/settings/SettingsSource.h"
#include "platform/HeldLibrary.h"
#include "platform/Path.h"

namespace corvane {
namespace {

struct Provider {
  const char* name;
  platform::HeldLibrary library = {};
  std::atomic<bool> unloaded = false;
};

// Never destroyed: workers may still ask while the process ends.
Provider& postofficeProvider = *new Provider{kPostofficeProvider};
Provider& smtpProvider = *new Provider{kSmtpProvider};
Provider& addressMapProvider = *new Provider{kAddressMapProvider};

Provider* FindProvider(const char* libraryName) {
  for (Provider* provider : {&postofficeProvider, &smtpProvider, &addressMapProvider}) {
    if (platform::EqualsNoCase(provider->name, libraryName)) return provider;
  }
  return nullptr;
}

std::int32_t AnswerWithout(const Provider& provider) {
  if (provider.unloaded && settings::StopFlag() != 0) {
    throw ProviderUnloaded(std::string(provider.name) + " is unloaded, the connector stops");
  }
  return 0;
}

template <typename Record>
std::int32_t Call(const Provider& provider, const char* exportName, Record& record) {
  const std::shared_ptr<const platform::Library> library = provider.library.Hold();
  if (!library) return AnswerWithout(provider);
  auto* call = library->Find<std::int32_t(Record*)>(exportName);
  return call == nullptr ? 0 : call(&record);
}

template <std::size_t kSize>
void EndText(char (&text)[kSize]) {
  text[kSize - 1] = '\0';
}

std::int32_t FindMember(const char* exportName, GroupMemberRecord& record) {
  const std::int32_t result = Call(postofficeProvider, exportName, record);
  EndText(record.MemberAddress);
  EndText(record.Postoffice);
  EndText(record.GroupName);
  if (result == kProviderUnreachable) throw StoreUnreachable("the group's members can't be read");
  return result;
}

}  // namespace

bool LoadConfigurationProvider(const char* libraryName) {
  Provider* provider = FindProvider(libraryName);
  if (provider == nullptr) return false;
  char directory[1024];
  settings::GetLibraryDirectory(directory, sizeof directory);
  provider->unloaded = false;
  return provider->library.Load(directory, provider->name);
}

void UnloadConfigurationProvider(const char* libraryName) {
  Provider* provider = FindProvider(libraryName);
  if (provider == nullptr) return;
  provider->unloaded = true;
  provider->library.Unload();
}

bool IsProviderLoaded(const char* libraryName) {
  const Provider* provider = FindProvider(libraryName);
  if (provider == nullptr) return false;
  return provider->library.Hold() != nullptr || AnswerWithout(*provider) != 0;
}

std::int32_t PostofficeGet(PostofficeRecord& record) {
  const std::int32_t result = ReportAndRethrow(
      "PostofficeGet", CV_HERE, [&] { return Call(postofficeProvider, "PostofficeGet", record); });
  EndText(record.Postoffice);
  return result;
}

std::int32_t MailboxGet(MailboxRecord& record) {
  const std::int32_t result = Call(postofficeProvider, "MailboxGet", record);
  EndText(record.Postoffice);
  EndText(record.Mailbox);
  EndText(record.RedirectAddress);
  return result;
}

std::int32_t GroupGet(GroupRecord& record) {
  const std::int32_t result = Call(postofficeProvider, "GroupGet", record);
  EndText(record.Address);
  EndText(record.Postoffice);
  EndText(record.GroupName);
  return result;
}

std::int32_t GroupMemberFindFirst(GroupMemberRecord& record) {
  return FindMember("GroupMemberFindFirst", record);
}

std::int32_t GroupMemberFindNext(GroupMemberRecord& record) {
  return FindMember("GroupMemberFindNext", record);
}

std::int32_t SMTPDomainGet(DomainRecord& record) {
  const std::int32_t result = Call(smtpProvider, "SMTPDomainGet", record);
  EndText(record.Domain);
  return result;
}

std::int32_t AddressMapGet(AddressMapRecord& record) {
  const std::int32_t result = Call(addressMapProvider, "AddressMapGet", record);
  EndText(record.Account);
  EndText(record.SourceAddress);
  EndText(record.DestinationAddress);
  EndText(record.Scope);
  return result;
}

}  // namespace corvane
