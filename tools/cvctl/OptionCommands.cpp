// OptionCommands.cpp -- cvctl option get, set, list, delete: options of a postoffice or a mailbox.
#include <cstdio>
#include <string>

#include "PROVIDERS/Library/LIBOption/ProviderRecords.h"
#include "configuration/Edits.h"
#include "configuration/Lookups.h"
#include "cvctl/Command.h"
#include "cvctl/CommandTree.h"
#include "cvctl/ConfigurationCommands.h"
#include "cvctl/Names.h"
#include "cvctl/Printing.h"
#include "cvctl/StoreAccess.h"

namespace corvane::cvctl {
namespace {

using configuration::OptionEntry;
using nlohmann::ordered_json;
using platform::Database;

struct Arguments {
  std::string key;
  std::string name;
  std::string value;
  bool json = false;
};

// The kind of the key, by its form.
std::int32_t KindOf(const std::string& key) {
  if (key.find('/') == std::string::npos) {
    CheckPostofficeName(key);
    return static_cast<std::int32_t>(OptionKind::kPostoffice);
  }
  (void)SplitMailboxName(key);
  return static_cast<std::int32_t>(OptionKind::kMailbox);
}

std::string Owner(const std::string& key) {
  return (key.find('/') == std::string::npos ? "postoffice " : "mailbox ") + key;
}

std::string Thing(const Arguments& arguments) {
  return "option '" + arguments.name + "' of " + Owner(arguments.key);
}

void ExpectOwner(Database& store, const std::string& key) {
  if (key.find('/') == std::string::npos) return ExpectPostoffice(store, key);
  const PairedName name = SplitMailboxName(key);
  configuration::MailboxEntry entry;
  ExpectFound(configuration::FindMailbox(store, name.postoffice, name.name, entry), store,
              Owner(key));
}

void Get(const Arguments& arguments) {
  const std::int32_t kind = KindOf(arguments.key);
  Database store = OpenForReading();
  std::string value;
  const auto answer = configuration::FindOption(store, kind, arguments.key, arguments.name, value);
  if (answer == configuration::Answer::kUnknown) ExpectOwner(store, arguments.key);
  ExpectFound(answer, store, Thing(arguments));
  if (arguments.json) {
    PrintJson({{"key", arguments.key}, {"name", arguments.name}, {"value", value}});
  } else {
    std::printf("%s\n", Shown(value).c_str());
  }
}

void Set(const Arguments& arguments) {
  if (arguments.name.empty() || arguments.name.size() > kLongestOption) {
    throw Failure(kUsage, "an option's name has 1 to 1023 bytes; give another");
  }
  if (arguments.value.size() > kLongestOption) {
    throw Failure(kUsage, "the value is too long: give at most 1023 bytes");
  }
  const std::int32_t kind = KindOf(arguments.key);
  Database store = OpenForChanges();
  ExpectDone(configuration::SetOption(store, kind, arguments.key, arguments.name, arguments.value),
             store, {Thing(arguments), Owner(arguments.key)});
  ConfirmJson(arguments.json, "option", arguments.name, "set");
}

void List(const Arguments& arguments) {
  const std::int32_t kind = KindOf(arguments.key);
  Database store = OpenForReading();
  ExpectOwner(store, arguments.key);
  ordered_json all = ordered_json::object();
  const auto visit = [&](const OptionEntry& entry) {
    if (arguments.json) {
      all[entry.name] = entry.value;
    } else {
      std::printf("%s\t%s\n", Shown(entry.name).c_str(), Shown(entry.value).c_str());
    }
  };
  ExpectFound(configuration::ListOptions(store, kind, arguments.key, visit), store, "option");
  if (arguments.json) PrintJson({{"key", arguments.key}, {"options", all}});
}

void Delete(const Arguments& arguments) {
  const std::int32_t kind = KindOf(arguments.key);
  Database store = OpenForChanges();
  const auto result = configuration::DeleteOption(store, kind, arguments.key, arguments.name);
  if (result == configuration::EditResult::kMissing) ExpectOwner(store, arguments.key);
  ExpectDone(result, store, {Thing(arguments)});
  ConfirmJson(arguments.json, "option", arguments.name, "deleted");
}

}  // namespace

void AddOptionCommands(CLI::App& app) {
  static Arguments arguments;
  CLI::App* family = AddFamily(app, "option", "options of a postoffice or a mailbox");
  const auto withKey = [](CLI::App* command) {
    command->add_option("KEY", arguments.key, "POSTOFFICE or POSTOFFICE/MAILBOX")->required();
    AddJsonFlag(command, &arguments.json);
    return command;
  };
  const auto withName = [&](CLI::App* command) {
    withKey(command)->add_option("NAME", arguments.name, "the option's name")->required();
    return command;
  };
  withName(AddCommand(family, "get", "print a value", &arguments, Get));
  withName(AddCommand(family, "set", "set a value", &arguments, Set))
      ->add_option("VALUE", arguments.value, "its text; may be empty")
      ->required();
  withKey(AddCommand(family, "list", "list all of a key", &arguments, List));
  withName(AddCommand(family, "delete", "delete a value", &arguments, Delete));
}

}  // namespace corvane::cvctl
