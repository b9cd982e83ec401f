// DomainCommands.cpp -- cvctl domain add, list, remove, and cvctl map add, list, remove.
#include <cstdio>
#include <string>

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

using configuration::MapEntry;
using nlohmann::ordered_json;
using platform::Database;

struct DomainArguments {
  std::string name;
  bool json = false;
};

struct MapArguments {
  std::string address;
  std::string item;
  bool json = false;
};

void CheckDomain(const std::string& name) {
  if (name.empty() || name.size() > kLongestDomain) {
    throw Failure(kUsage, "a domain has 1 to 511 bytes: write it as example.org");
  }
  if (name.find('@') != std::string::npos || !IsMailAddress("x@" + name)) {
    throw Failure(kUsage, "'" + name + "' is no domain: write it as example.org");
  }
}

void AddDomain(const DomainArguments& arguments) {
  CheckDomain(arguments.name);
  Database store = OpenForChanges();
  ExpectDone(configuration::AddDomain(store, arguments.name), store, {"domain " + arguments.name});
  ConfirmJson(arguments.json, "domain", arguments.name, "added");
}

void ListDomains(const DomainArguments& arguments) {
  Database store = OpenForReading();
  ordered_json all = ordered_json::array();
  const auto visit = [&](const std::string& name) {
    if (arguments.json) {
      all.push_back(name);
    } else {
      std::printf("%s\n", Shown(name).c_str());
    }
  };
  ExpectFound(configuration::ListDomains(store, visit), store, "domain");
  if (arguments.json) PrintJson({{"domains", all}});
}

void RemoveDomain(const DomainArguments& arguments) {
  Database store = OpenForChanges();
  ExpectDone(configuration::RemoveDomain(store, arguments.name), store,
             {"domain " + arguments.name});
  ConfirmJson(arguments.json, "domain", arguments.name, "removed");
}

// "[SMTP:anna@acme.test]" of "anna@acme.test", or of itself.
std::string AddressItem(const std::string& text) {
  if (!text.starts_with('[')) CheckMailAddress(text);
  const std::string item = AsItem(text.starts_with('[') ? text : "[SMTP:" + text + "]");
  if (!item.starts_with("[SMTP:")) {
    throw Failure(kUsage, "'" + text + "' is no mail address: write NAME@DOMAIN");
  }
  CheckMailAddress(item.substr(6, item.size() - 7));
  return item;
}

// The address of an item, bare.
std::string Bare(const std::string& item) {
  return item.starts_with("[SMTP:") ? item.substr(6, item.size() - 7) : item;
}

void AddMap(const MapArguments& arguments) {
  const std::string address = AddressItem(arguments.address);
  const std::string item = AsItem(arguments.item);
  if (!item.starts_with("[SF:")) {
    throw Failure(kUsage, "'" + item + "' is no local item: write POSTOFFICE/MAILBOX");
  }
  Database store = OpenForChanges();
  ExpectDone(configuration::AddMap(store, address, item), store,
             {"map of " + arguments.address, "", item});
  ConfirmJson(arguments.json, "map", Bare(address), "added");
}

void ListMaps(const MapArguments& arguments) {
  Database store = OpenForReading();
  ordered_json all = ordered_json::array();
  const auto visit = [&](const MapEntry& entry) {
    if (arguments.json) {
      all.push_back({{"address", Bare(entry.address)}, {"item", entry.item}});
    } else {
      std::printf("%s\t%s\n", Shown(Bare(entry.address)).c_str(), Shown(entry.item).c_str());
    }
  };
  ExpectFound(configuration::ListMaps(store, visit), store, "map");
  if (arguments.json) PrintJson({{"maps", all}});
}

void RemoveMap(const MapArguments& arguments) {
  const std::string address = AddressItem(arguments.address);
  Database store = OpenForChanges();
  ExpectDone(configuration::RemoveMap(store, address), store, {"map of " + arguments.address});
  ConfirmJson(arguments.json, "map", Bare(address), "removed");
}

void AddMapCommands(CLI::App& app) {
  static MapArguments arguments;
  CLI::App* family = AddFamily(app, "map", "mail addresses of mailboxes and groups");
  const auto withAddress = [](CLI::App* command) {
    command->add_option("ADDRESS", arguments.address, "NAME@DOMAIN")->required();
    AddJsonFlag(command, &arguments.json);
    return command;
  };
  withAddress(AddCommand(family, "add", "give a mailbox or group an address", &arguments, AddMap))
      ->add_option("ITEM", arguments.item, "POSTOFFICE/MAILBOX")
      ->required();
  AddJsonFlag(AddCommand(family, "list", "list all", &arguments, ListMaps), &arguments.json);
  withAddress(AddCommand(family, "remove", "remove one", &arguments, RemoveMap));
}

}  // namespace

void AddDomainCommands(CLI::App& app) {
  static DomainArguments arguments;
  CLI::App* family = AddFamily(app, "domain", "mail domains that are served here");
  const auto withName = [](CLI::App* command) {
    command->add_option("NAME", arguments.name, "the domain")->required();
    AddJsonFlag(command, &arguments.json);
  };
  withName(AddCommand(family, "add", "add one", &arguments, AddDomain));
  AddJsonFlag(AddCommand(family, "list", "list all", &arguments, ListDomains), &arguments.json);
  withName(AddCommand(family, "remove", "remove one", &arguments, RemoveDomain));
  AddMapCommands(app);
}

}  // namespace corvane::cvctl
