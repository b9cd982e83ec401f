#include "connector/settings/ConnectorSettings.h"

#include <algorithm>
#include <iterator>
#include <mutex>

#include "connector/settings/ProcessState.h"
#include "connector/settings/Settings.h"
#include "connector/settings/SettingsSource.h"
#include "platform/Path.h"
#include "platform/Reports.h"

namespace corvane::settings {
namespace {

constexpr std::size_t kPathSize = 1024;

// What the load forms from several values.
struct Derived {
  std::string outboundMessageQueue;
  std::string libraryDirectory;
  bool aspxWebmail = false;
};
std::mutex derivedMutex;
Derived derived;

template <typename Change>
void ChangeDerived(Change change) {
  std::lock_guard lock(derivedMutex);
  change(derived);
}

Derived CurrentDerived() {
  std::lock_guard lock(derivedMutex);
  return derived;
}

void Load(const DwordSetting& setting) {
  Hold(setting, Find(setting).value_or(setting.defaultValue));
}

void Load(const TextSetting& setting) {
  Hold(setting, Find(setting).value_or(setting.defaultValue));
}

void LoadSmtpSettings() {
  Load(kBadMailDirectory);
  char directory[kPathSize];
  GetLibraryDirectory(directory, sizeof directory);
  ChangeDerived([&](Derived& all) { all.libraryDirectory = directory; });
  Load(kLocalDomainName);
  Load(kBadMailNotificationSenderAddress);
  Load(kMaximumInboundRecipients);
}

void FormOutboundMessageQueue() {
  Load(kConnectorRootDirectorySf);
  std::string root = Get(kConnectorRootDirectorySf);
  if (root.empty()) root = Get(kConnectorRootDirectory);
  if (root.empty()) {
    platform::PrintConsole(
        "Unable to determine OutboundMessageQueue. This is a serious problem.\n");
  }
  std::string queue = root.empty() ? "" : platform::JoinPath(root, "SF\\Outgoing");
  ChangeDerived([&](Derived& all) { all.outboundMessageQueue = queue; });
}

// What the load reads at a place of its own; the rest follows the table.
bool IsLoadedElsewhere(const Setting* setting) {
  static constexpr const Setting* kElsewhere[] = {
      &kBadMailDirectory,         &kLocalDomainName,        &kBadMailNotificationSenderAddress,
      &kMaximumInboundRecipients, &kConnectorRootDirectory, &kConnectorRootDirectorySf,
      &kRedirectionEnabled,
  };
  return std::find(std::begin(kElsewhere), std::end(kElsewhere), setting) != std::end(kElsewhere);
}

void LoadRemainingValues() {
  for (const DwordSetting* setting : AllNumbers()) {
    if (setting->read == Read::Start && !IsLoadedElsewhere(setting)) Load(*setting);
  }
  for (const TextSetting* setting : AllTexts()) {
    if (setting->read == Read::Start && !IsLoadedElsewhere(setting)) Load(*setting);
  }
}

void AdjustLoadedValues() {
  bool aspx = Get(kApplicationType) == "ASPX";
  ChangeDerived([&](Derived& all) { all.aspxWebmail = aspx; });
  if (Get(kMailRoot).empty()) Hold(kMailRoot, Get(kMailRootDirectory));
  if (Get(kOutgoingPollInterval) == 0) Hold(kOutgoingPollInterval, 1);
}

void LoadProviders(const ProviderLoader& loadProvider) {
  if (!loadProvider("CVAIPO.DLL")) {
    platform::PrintConsole("Unable to Load Postoffice Configuration Provider\n");
  }
  platform::PrintConsole(loadProvider("CVAISM.DLL") ? "Loaded SMTP Configuration Provider\n"
                                                    : "Unable to Load Configuration Provider\n");
  platform::PrintConsole(loadProvider("CVAIAM.DLL") ? "Loaded Address Map Provider\n"
                                                    : "Unable to Load Address Map Provider\n");
}

}  // namespace

void LoadConnectorSettings(const ProviderLoader& loadProvider) {
  LoadSmtpSettings();
  Load(kConnectorRootDirectory);
  FormOutboundMessageQueue();
  LoadRemainingValues();
  AdjustLoadedValues();
  LoadProviders(loadProvider);
  Load(kRedirectionEnabled);
  StopFlag() = 0;
  StoppedFlag() = 0;
}

std::string ConnectorRootDirectory() { return Get(kConnectorRootDirectory); }
std::string OutboundMessageQueue() { return CurrentDerived().outboundMessageQueue; }
std::string MailRoot() { return Get(kMailRoot); }
std::string LibraryDirectory() { return CurrentDerived().libraryDirectory; }
bool IsAspxWebmail() { return CurrentDerived().aspxWebmail; }

void ForgetConnectorPaths() {
  ChangeDerived([](Derived& all) { all = {}; });
}

}  // namespace corvane::settings
