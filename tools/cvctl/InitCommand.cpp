// InitCommand.cpp -- cvctl init DIR: a complete installation below one directory.
//
//   settings.db    the settings store; made last, so that what breaks off is no installation
//   config/        configuration files and the empty configuration store
//   connectors/    the queues; mail/ all postoffices; badmail/, quarantine/, logs/, run/
//   lib64/         the shipped libraries, as links, to be replaced by others where wanted
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "configuration/ConfigurationStore.h"
#include "connector/settings/SettingsTable.h"
#include "cvctl/Command.h"
#include "cvctl/ConfigurationCommands.h"
#include "platform/Machine.h"
#include "platform/SettingsStore.h"

namespace corvane::cvctl {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLibraries[] = {"CVAIPO.so", "CVAISM.so", "CVAIAM.so",
                                      "CVAISO.so", "CVAISP.so", "CVAINFY.so"};
constexpr const char* kSettingsFile = "settings.db";
constexpr const char* kLibraryDirectory = "lib64";

struct PlacedSetting {
  const settings::TextSetting& setting;
  const char* place;  // below the installation
};

const PlacedSetting kPlaced[] = {
    {settings::kApplicationDirectory, "lib"},
    {settings::kConnectorRootDirectory, "connectors"},
    {settings::kMailRoot, "mail"},
    {settings::kConfigurationDirectory, "config"},
    {settings::kBadMailDirectory, "badmail"},
    {settings::kQuarantineDirectory, "quarantine"},
    {settings::kDebugLogFileDirectory, "logs"},
    {settings::kActivityLogDirectory, "logs"},
    {settings::kRunDirectory, "run"},
};

constexpr const char* kDirectories[] = {"connectors/SF/Outgoing/Messages",
                                        "connectors/SF/Inbound/Messages",
                                        "mail",
                                        "config",
                                        "badmail",
                                        "quarantine",
                                        "logs",
                                        "run",
                                        kLibraryDirectory};

void CheckFree(const fs::path& directory) {
  std::error_code error;
  const fs::path store = directory / kSettingsFile;
  if (fs::exists(fs::symlink_status(store, error))) {
    throw Failure(kUsage, directory.string() +
                              " already holds an installation; choose another directory, or use "
                              "this one with CORVANE_SETTINGS=" +
                              store.string());
  }
  if (fs::exists(directory, error) && !fs::is_directory(directory, error)) {
    throw Failure(kUsage, directory.string() + " is no directory; choose another");
  }
}

void MakeDirectories(const fs::path& directory) {
  for (const char* name : kDirectories) {
    std::error_code error;
    fs::create_directories(directory / name, error);
    if (error) {
      throw Failure(kTrouble, "can't make " + (directory / name).string() + ": " + error.message() +
                                  "; check the rights of what lies above it");
    }
  }
}

// Where the shipped libraries lie: beside the tool's own directory, or where they are installed to.
fs::path ShippedLibraries() {
  const fs::path beside = fs::path(platform::ProgramPath()).parent_path().parent_path();
  for (const fs::path& place : {beside / kLibraryDirectory, beside / CORVANE_INSTALLED_LIBRARIES}) {
    std::error_code error;
    if (fs::exists(place / kLibraries[0], error)) return place;
  }
  throw Failure(kTrouble, "the provider libraries are missing: expected them in " +
                              (beside / kLibraryDirectory).string() +
                              "; build or install the product whole");
}

void LinkLibraries(const fs::path& directory) {
  const fs::path shipped = ShippedLibraries();
  for (const char* name : kLibraries) {
    std::error_code error;
    const fs::path link = directory / kLibraryDirectory / name;
    if (fs::exists(fs::symlink_status(link, error))) continue;
    fs::create_symlink(fs::canonical(shipped / name, error), link, error);
    if (error) {
      throw Failure(kTrouble, "can't place " + link.string() + ": " + error.message() +
                                  "; check that the library is built and the rights are there");
    }
  }
}

void MakeConfigurationStore(const fs::path& directory) {
  const std::string path = (directory / "config" / "configuration.db").string();
  std::string why;
  if (!configuration::OpenConfiguration(path, platform::DatabaseMode::kCreate, &why)) {
    throw Failure(kTrouble, "can't make the configuration store: " + why +
                                "; remove it or choose "
                                "another directory");
  }
}

void MakeSettings(const fs::path& directory) {
  std::vector<platform::SettingChange> changes;
  for (const PlacedSetting& placed : kPlaced) {
    platform::SettingChange change;
    change.key = settings::WholeKey(placed.setting.key);
    change.name = placed.setting.name;
    change.value.type = platform::SettingType::kString;
    change.value.bytes = (directory / placed.place).string();
    changes.push_back(change);
  }
  platform::SettingsStore store((directory / kSettingsFile).string());
  if (!store.Apply(changes)) {
    throw Failure(kTrouble, "can't make the settings store: " + store.ErrorText());
  }
}

// As a shell takes it, whatever the name holds.
std::string Quoted(const std::string& text) {
  constexpr const char* kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+:@%,";
  if (text.find_first_not_of(kPlain) == std::string::npos) return text;
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

void Init(const std::string& name) {
  std::error_code error;
  const fs::path directory = fs::absolute(name, error).lexically_normal();
  if (name.empty() || error) throw Failure(kUsage, "give a directory: 'cvctl init DIR'");
  CheckFree(directory);
  MakeDirectories(directory);
  LinkLibraries(directory);
  MakeConfigurationStore(directory);
  MakeSettings(directory);
  std::printf("export CORVANE_SETTINGS=%s\n", Quoted((directory / kSettingsFile).string()).c_str());
}

}  // namespace

void AddInitCommand(CLI::App& app) {
  static std::string directory;
  CLI::App* command = app.add_subcommand("init", "make a complete installation below a directory");
  command->add_option("DIR", directory, "its directory; made when it isn't there")->required();
  command->callback([] { Init(directory); });
}

}  // namespace corvane::cvctl
