#include "cvctl/SettingsCommands.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>

#include "connector/settings/KnownSettings.h"
#include "connector/settings/RegistryFile.h"
#include "connector/settings/SettingKeys.h"
#include "cvctl/Advice.h"
#include "cvctl/Command.h"
#include "cvctl/Printing.h"
#include "cvctl/SettingsList.h"
#include "platform/Error.h"
#include "platform/Path.h"
#include "platform/SettingsStore.h"
#include "platform/WholeFile.h"

namespace corvane::cvctl {
namespace {

using platform::SettingChange;
using platform::SettingsStore;
using platform::SettingType;
using platform::SettingValue;

// What all six commands take, as far as each does.
struct Arguments {
  std::string key, name, value, file;
  bool dword = false, string = false, binary = false;
  bool all = false, json = false;
};

std::string DescribeStore() { return "settings store " + SettingsStore::DefaultPath(); }

bool IsMissing(std::int32_t error) {
  return error == platform::kErrorFileNotFound || error == platform::kErrorPathNotFound;
}

// A store that isn't there holds nothing; one that is there must be readable.
void RequireReadable(SettingsStore& store) {
  if (store.Readable() || IsMissing(platform::LastError())) return;
  throw Failure(kTrouble, store.ErrorText() +
                              "; give this user the right to read it, or restore it from a backup");
}

void RequireThere(SettingsStore& store) {
  RequireReadable(store);
  if (store.Readable()) return;
  throw Failure(kNotFound, "there is no " + DescribeStore() +
                               "; name another one in CORVANE_SETTINGS or make it with 'cvctl "
                               "settings set' or 'import'");
}

std::string WhatToDo(std::int32_t error) {
  switch (error) {
    case platform::kErrorPathNotFound:
      return "make its directory or name another store in CORVANE_SETTINGS";
    case platform::kErrorAccessDenied:
    case platform::kErrorWriteProtect:
      return "run the command as a user who may write the file and its directory";
    case platform::kErrorSharingViolation:
      return "another program is changing it; try again";
    case platform::kErrorDiskFull:
      return "make room on its disk; nothing was changed";
    default:
      return "nothing was changed; restore it from a backup if it is damaged";
  }
}

void Apply(SettingsStore& store, const std::vector<SettingChange>& changes) {
  if (store.Apply(changes)) return;
  throw Failure(kTrouble, store.ErrorText() + "; " + WhatToDo(platform::LastError()));
}

std::uint32_t ParseNumber(const std::string& text) {
  bool negative = text.rfind('-', 0) == 0;
  bool hex = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
  const char* first = text.data() + (negative ? 1 : hex ? 2 : 0);
  const char* last = text.data() + text.size();
  std::uint64_t number = 0;
  auto [end, error] = std::from_chars(first, last, number, hex ? 16 : 10);
  std::uint64_t most = negative ? 0x80000000 : 0xFFFFFFFF;
  if (error != std::errc() || end != last || number > most) {
    throw Failure(kUsage, "'" + text +
                              "' is no 32-bit number; give it in decimal (-1 for 4294967295) or "
                              "with 0x");
  }
  return static_cast<std::uint32_t>(negative ? -number : number);
}

std::string ParseBytes(const std::string& text) {
  std::string digits, bytes;
  for (char character : text) {
    if (character != ',' && character != ' ') digits += character;
  }
  bool valid = digits.size() % 2 == 0;
  for (std::size_t i = 0; valid && i < digits.size(); i += 2) {
    unsigned byte = 0;
    auto [end, error] = std::from_chars(digits.data() + i, digits.data() + i + 2, byte, 16);
    valid = error == std::errc() && end == digits.data() + i + 2;
    bytes += static_cast<char>(byte);
  }
  if (valid) return bytes;
  throw Failure(kUsage, "'" + text + "' is no binary value; give two hexadecimal digits a byte");
}

[[noreturn]] void RefuseUnknown(const std::string& key, const std::string& name) {
  std::string message =
      "'" + name + "' of " + std::string(settings::RelativeKey(key)) + " is not a known setting; ";
  std::string_view nearest = settings::NearestName(key, name);
  auto elsewhere = settings::KeysOfName(name);
  if (!nearest.empty()) {
    message += "did you mean '" + std::string(nearest) + "'? ";
  } else if (!elsewhere.empty()) {
    message += "it belongs under " + std::string(elsewhere.front()) + "; ";
  }
  throw Failure(kUsage, message + "to set it all the same give --dword, --string or --binary");
}

// A number beyond what makes sense is set as it was asked for, with a word about it.
void WarnOfRange(const settings::DwordSetting& setting, std::uint32_t number) {
  if (number >= setting.low && number <= setting.high) return;
  std::fprintf(stderr, "cvctl: note: '%s' is usually %u to %u (%s)\n", setting.name, setting.low,
               setting.high, setting.unit);
}

SettingValue ValueToSet(const Arguments& arguments, const std::string& key) {
  if (arguments.dword) return SettingValue::Dword(ParseNumber(arguments.value));
  if (arguments.string) return SettingValue::String(arguments.value);
  if (arguments.binary) return SettingValue::Binary(ParseBytes(arguments.value));
  const settings::Setting* setting = settings::FindSetting(key, arguments.name);
  if (settings::AsText(setting) != nullptr) return SettingValue::String(arguments.value);
  const settings::DwordSetting* number = settings::AsNumber(setting);
  if (number == nullptr) RefuseUnknown(key, arguments.name);
  std::uint32_t value = ParseNumber(arguments.value);
  WarnOfRange(*number, value);
  return SettingValue::Dword(value);
}

// The whole key to change; the root of all keys can't be meant.
std::string KeyToChange(const Arguments& arguments) {
  std::string key = settings::WholeKey(arguments.key);
  if (!key.empty()) return key;
  throw Failure(kUsage, "'" + arguments.key +
                            "' is the root of all keys; name a key below it, or . for the product "
                            "key");
}

// A registry file couldn't carry the key: a control character ends its line, "];" its name.
void RefuseUnwritableKey(const std::string& key) {
  bool refused = std::any_of(key.begin(), key.end(), [](char character) {
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
  });
  for (std::size_t at = key.find(']'); at != std::string::npos; at = key.find(']', at + 1)) {
    const std::size_t behind = key.find_first_not_of(' ', at + 1);
    refused = refused || (behind != std::string::npos && key[behind] == ';');
  }
  if (!refused) return;
  throw Failure(kUsage, "'" + key +
                            "' can't be a key: give one without control characters and without "
                            "\"];\"");
}

void Get(const Arguments& arguments) {
  SettingsStore store(SettingsStore::DefaultPath());
  RequireReadable(store);
  auto value = store.Get(settings::WholeKey(arguments.key), arguments.name);
  if (!value) throw Failure(kNotFound, "");
  if (arguments.json) {
    return PrintJson({{"key", arguments.key},
                      {"name", arguments.name},
                      {"type", SettingTypeName(*value)},
                      {"value", SettingJson(*value)}});
  }
  std::string line = SettingText(*value) + "\n";
  std::fwrite(line.data(), 1, line.size(), stdout);
}

void Set(const Arguments& arguments) {
  std::string key = KeyToChange(arguments);
  RefuseUnwritableKey(key);
  SettingsStore store(SettingsStore::DefaultPath());
  const settings::Setting* known = settings::FindSetting(key, arguments.name);
  if (known != nullptr) key = settings::WholeKey(known->key);  // the usual spelling
  Apply(store, {{SettingChange::Kind::kSet, key, arguments.name, ValueToSet(arguments, key)}});
  ConfirmJson(arguments.json, "setting", arguments.name, "set");
}

void Delete(const Arguments& arguments, bool wholeKey) {
  std::string key = KeyToChange(arguments);
  SettingsStore store(SettingsStore::DefaultPath());
  RequireThere(store);
  bool there = wholeKey ? !store.List(key).empty() : store.Get(key, arguments.name).has_value();
  if (!there) {
    throw Failure(kNotFound, "there is no " +
                                 (wholeKey ? "key " : "'" + arguments.name + "' in key ") + key +
                                 "; 'cvctl settings list --all' shows what there is");
  }
  auto kind = wholeKey ? SettingChange::Kind::kDeleteKey : SettingChange::Kind::kDeleteValue;
  Apply(store, {{kind, key, arguments.name, {}}});
  ConfirmJson(arguments.json, wholeKey ? "key" : "setting", wholeKey ? key : arguments.name,
              "deleted");
}

void List(const Arguments& arguments) {
  SettingsStore store(SettingsStore::DefaultPath());
  RequireReadable(store);
  std::string key = arguments.key.empty() ? "" : settings::WholeKey(arguments.key);
  PrintSettingsList(store, key, arguments.all, arguments.json);
}

void Import(const Arguments& arguments) {
  constexpr std::uint64_t kMostBytes = 256 << 20;
  auto bytes = platform::ReadWholeFile(arguments.file, kMostBytes);
  if (!bytes) {
    throw Failure(kUsage, FileTrouble(arguments.file));
  }
  settings::RegistryFile file = settings::ParseRegistryFile(*bytes);
  if (file.errorLine != 0) {
    throw Failure(kUsage, arguments.file + ", line " + std::to_string(file.errorLine) + ": " +
                              file.error + "; nothing was imported, mend the line and try again");
  }
  SettingsStore store(SettingsStore::DefaultPath());
  Apply(store, file.changes);
  std::size_t values = 0;
  for (const SettingChange& change : file.changes) {
    values += change.kind == SettingChange::Kind::kSet ? 1 : 0;
  }
  const std::string path = SettingsStore::DefaultPath();
  if (arguments.json) return PrintJson({{"imported", values}, {"store", path}});
  std::printf("Imported %zu values into %s\n", values, Shown(path).c_str());
}

// What an export holds, a key without values among it.
void PrintEntries(const std::vector<platform::SettingEntry>& entries) {
  auto values = nlohmann::ordered_json::array();
  for (const platform::SettingEntry& entry : entries) {
    if (entry.value.type == SettingType::kNone) {
      values.push_back({{"key", entry.key}});
    } else {
      values.push_back({{"key", entry.key},
                        {"name", entry.name},
                        {"type", SettingTypeName(entry.value)},
                        {"value", SettingJson(entry.value)}});
    }
  }
  PrintJson({{"values", values}});
}

bool WriteStream(const std::string& path, const std::string& text) {
  std::ofstream stream(path, std::ios::binary);
  stream.write(text.data(), static_cast<std::streamsize>(text.size()));
  if (stream.flush()) return true;
  platform::SetLastError(platform::ErrorFromErrno(errno));
  return false;
}

// A link's target is written, not the link replaced; a device or a pipe is written to; and a name
// in another case is another file.
bool WriteExport(const std::string& file, const std::string& text) {
  namespace fs = std::filesystem;
  const std::string path = platform::SystemPath(file);
  std::error_code none;
  const fs::file_type type = fs::symlink_status(path, none).type();
  if (type == fs::file_type::not_found) {
    if (!WriteStream(path, "")) return false;
    if (platform::WriteWholeFile(path, text)) return true;
    const std::int32_t error = platform::LastError();
    fs::remove(path, none);
    platform::SetLastError(error);
    return false;
  }
  if (type == fs::file_type::symlink && fs::is_regular_file(path, none)) {
    return platform::WriteWholeFile(fs::canonical(path, none).string(), text);
  }
  const bool whole = type == fs::file_type::regular || type == fs::file_type::directory;
  return whole ? platform::WriteWholeFile(path, text) : WriteStream(path, text);
}

void Export(const Arguments& arguments) {
  SettingsStore store(SettingsStore::DefaultPath());
  RequireThere(store);
  std::string key = arguments.key.empty() ? "" : settings::WholeKey(arguments.key);
  auto entries = store.List(key);
  if (entries.empty() && !key.empty()) {
    throw Failure(kNotFound,
                  "there is no key " + key + "; 'cvctl settings list --all' shows what there is");
  }
  if (arguments.file.empty() && arguments.json) return PrintEntries(entries);
  std::string text = settings::FormatRegistryFile(entries);
  if (arguments.file.empty()) {
    std::fwrite(text.data(), 1, text.size(), stdout);
  } else if (!WriteExport(arguments.file, text)) {
    throw Failure(kTrouble, FileTrouble(arguments.file));
  }
  if (!arguments.file.empty()) ConfirmJson(arguments.json, "file", arguments.file, "written");
}

using ArgumentsPointer = std::shared_ptr<Arguments>;

constexpr const char* kKeyHelp =
    "below the product key (. is the key itself), or whole: HKLM\\SOFTWARE\\...";

void AddGet(CLI::App* parent) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = parent->add_subcommand("get", "print a value; exit 1 when it is absent");
  command->add_option("KEY", arguments->key, kKeyHelp)->required();
  command->add_option("NAME", arguments->name, "the value's name")->required();
  AddJsonFlag(command, &arguments->json);
  command->callback([arguments] { Get(*arguments); });
}

void AddSet(CLI::App* parent) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = parent->add_subcommand("set", "set a value; makes the store if needed");
  command->add_option("KEY", arguments->key, kKeyHelp)->required();
  command->add_option("NAME", arguments->name, "the value's name")->required();
  command->add_option("VALUE", arguments->value, "number, text or hexadecimal bytes")->required();
  CLI::Option_group* type = command->add_option_group("type", "needed for unknown names");
  type->add_flag("--dword", arguments->dword, "a 32-bit number");
  type->add_flag("--string", arguments->string, "a text");
  type->add_flag("--binary", arguments->binary, "bytes, two hexadecimal digits each");
  type->require_option(0, 1);
  AddJsonFlag(command, &arguments->json);
  command->callback([arguments] { Set(*arguments); });
}

void AddDelete(CLI::App* parent) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command =
      parent->add_subcommand("delete", "delete a value, or a key with everything below it");
  command->add_option("KEY", arguments->key, kKeyHelp)->required();
  CLI::Option* name = command->add_option("NAME", arguments->name, "the value's name");
  AddJsonFlag(command, &arguments->json);
  command->callback([arguments, name] { Delete(*arguments, name->count() == 0); });
}

void AddList(CLI::App* parent) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = parent->add_subcommand(
      "list", "show settings with value, default and meaning; ? marks unknown names");
  command->add_option("KEY", arguments->key, kKeyHelp);
  command->add_flag("--all", arguments->all, "with keys of other services and unwritten counters");
  AddJsonFlag(command, &arguments->json);
  command->callback([arguments] { List(*arguments); });
}

void AddImport(CLI::App* parent) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = parent->add_subcommand("import", "import a .reg file, all of it or nothing");
  command->add_option("FILE", arguments->file, "the file")->required();
  AddJsonFlag(command, &arguments->json);
  command->callback([arguments] { Import(*arguments); });
}

void AddExport(CLI::App* parent) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = parent->add_subcommand("export", "write a .reg file");
  command->add_option("KEY", arguments->key, std::string(kKeyHelp) + "; everything without it");
  command->add_option("FILE", arguments->file, "the file; standard output without it");
  AddJsonFlag(command, &arguments->json);
  command->callback([arguments] { Export(*arguments); });
}

}  // namespace

void AddSettingsCommands(CLI::App& app) {
  CLI::App* settings = app.add_subcommand("settings", "the settings store");
  settings->require_subcommand(1);
  AddGet(settings);
  AddSet(settings);
  AddDelete(settings);
  AddList(settings);
  AddImport(settings);
  AddExport(settings);
}

}  // namespace corvane::cvctl
