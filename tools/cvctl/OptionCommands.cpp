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

void Get(const Arguments& arguments) {
  Database store = OpenForReading();
  std::string value;
  ExpectFound(
      configuration::FindOption(store, KindOf(arguments.key), arguments.key, arguments.name, value),
      store, Thing(arguments));
  if (arguments.json) {
    PrintJson({{"key", arguments.key}, {"name", arguments.name}, {"value", value}});
  } else {
    std::printf("%s\n", value.c_str());
  }
}

void Set(const Arguments& arguments) {
  if (arguments.name.empty() || arguments.name.size() > kLongestOption) {
    throw Failure(kUsage, "an option's name has 1 to 1023 bytes");
  }
  if (arguments.value.size() > kLongestOption) {
    throw Failure(kUsage, "the value is too long: at most 1023 bytes");
  }
  const std::int32_t kind = KindOf(arguments.key);
  Database store = OpenForChanges();
  ExpectDone(configuration::SetOption(store, kind, arguments.key, arguments.name, arguments.value),
             store, Thing(arguments), Owner(arguments.key));
}

void List(const Arguments& arguments) {
  Database store = OpenForReading();
  ordered_json all = ordered_json::object();
  const auto visit = [&](const OptionEntry& entry) {
    if (arguments.json) {
      all[entry.name] = entry.value;
    } else {
      std::printf("%s\t%s\n", entry.name.c_str(), entry.value.c_str());
    }
  };
  ExpectFound(configuration::ListOptions(store, KindOf(arguments.key), arguments.key, visit), store,
              "option");
  if (arguments.json) PrintJson({{"key", arguments.key}, {"options", all}});
}

void Delete(const Arguments& arguments) {
  const std::int32_t kind = KindOf(arguments.key);
  Database store = OpenForChanges();
  ExpectDone(configuration::DeleteOption(store, kind, arguments.key, arguments.name), store,
             Thing(arguments));
}

}  // namespace

void AddOptionCommands(CLI::App& app) {
  static Arguments arguments;
  CLI::App* family = AddFamily(app, "option", "options of a postoffice or a mailbox");
  const auto withKey = [](CLI::App* command) {
    command->add_option("KEY", arguments.key, "POSTOFFICE or POSTOFFICE/MAILBOX")->required();
    return command;
  };
  const auto withName = [&](CLI::App* command) {
    withKey(command)->add_option("NAME", arguments.name, "the option's name")->required();
    return command;
  };
  AddJsonFlag(withName(AddCommand(family, "get", "print a value", &arguments, Get)),
              &arguments.json);
  withName(AddCommand(family, "set", "set a value", &arguments, Set))
      ->add_option("VALUE", arguments.value, "its text; may be empty")
      ->required();
  AddJsonFlag(withKey(AddCommand(family, "list", "list all of a key", &arguments, List)),
              &arguments.json);
  withName(AddCommand(family, "delete", "delete a value", &arguments, Delete));
}

}  // namespace corvane::cvctl
