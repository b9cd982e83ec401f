// InitCommand.cpp -- cvctl init DIR: a complete installation below one directory.
//
//   settings.db    the settings store; made last, so that what breaks off is no installation
//   config/        configuration files and the empty configuration store
//   connectors/    the queues; mail/ all postoffices; badmail/, quarantine/, logs/, run/
//   lib64/         the shipped libraries, as links, to be replaced by others where wanted
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "configuration/ConfigurationStore.h"
#include "connector/settings/SettingsTable.h"
#include "cvctl/Advice.h"
#include "cvctl/Command.h"
#include "cvctl/ConfigurationCommands.h"
#include "platform/Error.h"
#include "platform/Machine.h"
#include "platform/SettingsStore.h"

namespace corvane::cvctl {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLibraries[] = {"CVAIPO.so", "CVAISM.so", "CVAIAM.so",
                                      "CVAISO.so", "CVAISP.so", "CVAINFY.so"};
constexpr const char* kSettingsFile = "settings.db";
constexpr const char* kConfigurationDirectory = "config";
constexpr const char* kConfigurationFile = "configuration.db";
constexpr const char* kLibraryDirectory = "lib64";

struct PlacedSetting {
  const settings::TextSetting& setting;
  const char* place;  // below the installation
};

const PlacedSetting kPlaced[] = {
    {settings::kApplicationDirectory, "lib"},
    {settings::kConnectorRootDirectory, "connectors"},
    {settings::kMailRoot, "mail"},
    {settings::kConfigurationDirectory, kConfigurationDirectory},
    {settings::kBadMailDirectory, "badmail"},
    {settings::kQuarantineDirectory, "quarantine"},
    {settings::kDebugLogFileDirectory, "logs"},
    {settings::kActivityLogDirectory, "logs"},
    {settings::kRunDirectory, "run"},
};

constexpr const char* kDirectories[] = {"connectors/SF/Outgoing/Messages",
                                        "connectors/SF/Inbound/Messages",
                                        "mail",
                                        kConfigurationDirectory,
                                        "badmail",
                                        "quarantine",
                                        "logs",
                                        "run",
                                        kLibraryDirectory};

// The settings hold product paths, in which a backslash separates names.
void CheckName(const std::string& directory) {
  const bool plain = std::none_of(directory.begin(), directory.end(), [](char c) {
    return c == '\\' || c == '\x7f' || static_cast<unsigned char>(c) < ' ';
  });
  if (directory.empty() || !plain) {
    throw Failure(kUsage, "'" + directory +
                              "' can't hold an installation: give a directory without backslashes "
                              "and control characters");
  }
}

bool IsThere(const fs::path& path) {
  std::error_code error;
  return fs::exists(fs::symlink_status(path, error));
}

void CheckFree(const fs::path& directory) {
  std::error_code error;
  const fs::path store = directory / kSettingsFile;
  if (IsThere(store)) {
    throw Failure(kUsage, directory.string() +
                              " already holds an installation; choose another directory, or use "
                              "this one with CORVANE_SETTINGS=" +
                              store.string());
  }
  for (const fs::path& place : {directory / kConfigurationDirectory, directory}) {
    if (!IsThere(place / kConfigurationFile)) continue;
    throw Failure(kUsage, directory.string() +
                              " already holds a configuration store; choose another directory, or "
                              "move " +
                              (place / kConfigurationFile).string() + " away");
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

fs::path ConfigurationStore(const fs::path& directory) {
  return directory / kConfigurationDirectory / kConfigurationFile;
}

void MakeConfigurationStore(const fs::path& directory) {
  const std::string path = ConfigurationStore(directory).string();
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
  if (store.Apply(changes)) return;
  const std::int32_t reason = platform::LastError();
  // A second attempt must not meet half an installation.
  std::error_code error;
  fs::remove(ConfigurationStore(directory), error);
  throw Failure(kTrouble, "can't make the settings store: " + WithAdvice(reason));
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

void Init(const std::string& name, bool json) {
  if (name.empty()) throw Failure(kUsage, "give a directory: 'cvctl init DIR'");
  std::error_code error;
  const fs::path directory = fs::absolute(name, error).lexically_normal();
  if (error) throw Failure(kTrouble, name + ": " + error.message() + "; give a whole path");
  CheckName(directory.string());
  CheckFree(directory);
  MakeDirectories(directory);
  LinkLibraries(directory);
  MakeConfigurationStore(directory);
  MakeSettings(directory);
  const std::string settings = (directory / kSettingsFile).string();
  if (json) {
    PrintJson({{"directory", directory.string()}, {"settings", settings}});
  } else {
    std::printf("export CORVANE_SETTINGS=%s\n", Quoted(settings).c_str());
  }
}

}  // namespace

void AddInitCommand(CLI::App& app) {
  static std::string directory;
  static bool json = false;
  CLI::App* command = app.add_subcommand("init", "make a complete installation below a directory");
  command->add_option("DIR", directory, "its directory; made when it isn't there")->required();
  AddJsonFlag(command, &json);
  command->callback([] { Init(directory, json); });
}

}  // namespace corvane::cvctl
