// PostofficeCommands.cpp -- cvctl postoffice add, list, show, set, remove.
#include <cstdio>
#include <string>

#include "configuration/Edits.h"
#include "configuration/Lookups.h"
#include "cvctl/Command.h"
#include "cvctl/CommandTree.h"
#include "cvctl/ConfigurationCommands.h"
#include "cvctl/Names.h"
#include "cvctl/Printing.h"
#include "cvctl/StatusFlags.h"
#include "cvctl/StoreAccess.h"

namespace corvane::cvctl {
namespace {

using configuration::PostofficeEntry;
using nlohmann::ordered_json;

constexpr const char* kKind = "postoffice";

struct Arguments {
  std::string name;
  StatusFlags status;
  bool force = false;
  bool json = false;
};

std::string Thing(const std::string& name) { return "postoffice " + name; }

ordered_json ToJson(const PostofficeEntry& entry) {
  return {{"name", entry.name}, {"enabled", entry.status == 1}};
}

void Add(const Arguments& arguments) {
  CheckPostofficeName(arguments.name);
  platform::Database store = OpenForChanges();
  ExpectDone(
      configuration::AddPostoffice(store, arguments.name, arguments.status.Status().value_or(1)),
      store, {Thing(arguments.name)});
  ConfirmJson(arguments.json, kKind, arguments.name, "added");
}

void List(const Arguments& arguments) {
  platform::Database store = OpenForReading();
  ordered_json all = ordered_json::array();
  ExpectFound(configuration::ListPostoffices(store,
                                             [&](const PostofficeEntry& entry) {
                                               if (arguments.json) {
                                                 all.push_back(ToJson(entry));
                                               } else {
                                                 std::printf("%s\t%s\n", Shown(entry.name).c_str(),
                                                             StatusWord(entry.status));
                                               }
                                             }),
              store, "postoffice");
  if (arguments.json) PrintJson({{"postoffices", all}});
}

void Show(const Arguments& arguments) {
  platform::Database store = OpenForReading();
  PostofficeEntry entry;
  ExpectFound(configuration::FindPostoffice(store, arguments.name, entry), store,
              Thing(arguments.name));
  int mailboxes = 0;
  int groups = 0;
  ExpectFound(configuration::ListMailboxes(store, entry.name, [&](const auto&) { ++mailboxes; }),
              store, "mailbox");
  ExpectFound(configuration::ListGroups(store, entry.name, [&](const auto&) { ++groups; }), store,
              "group");
  if (arguments.json) {
    ordered_json document = ToJson(entry);
    document["mailboxes"] = mailboxes;
    document["groups"] = groups;
    PrintJson(document);
    return;
  }
  std::printf("name       %s\nstatus     %s\nmailboxes  %d\ngroups     %d\n",
              Shown(entry.name).c_str(), StatusWord(entry.status), mailboxes, groups);
}

void Set(const Arguments& arguments) {
  const auto status = arguments.status.Status();
  if (!status) throw Failure(kUsage, "nothing to set: give --enabled or --disabled");
  platform::Database store = OpenForChanges();
  ExpectDone(configuration::SetPostoffice(store, arguments.name, *status), store,
             {Thing(arguments.name)});
  ConfirmJson(arguments.json, kKind, arguments.name, "changed");
}

void Remove(const Arguments& arguments) {
  platform::Database store = OpenForChanges();
  ExpectDone(configuration::RemovePostoffice(store, arguments.name, arguments.force), store,
             {Thing(arguments.name)});
  ConfirmJson(arguments.json, kKind, arguments.name, "removed");
}

}  // namespace

void AddPostofficeCommands(CLI::App& app) {
  CLI::App* family = AddFamily(app, "postoffice", "postoffices");
  static Arguments arguments;
  const auto withName = [](CLI::App* command) {
    command->add_option("NAME", arguments.name, "the postoffice")->required();
    AddJsonFlag(command, &arguments.json);
    return command;
  };
  CLI::App* add = withName(AddCommand(family, "add", "add one", &arguments, Add));
  arguments.status.AddTo(add);
  AddJsonFlag(AddCommand(family, "list", "list all", &arguments, List), &arguments.json);
  withName(AddCommand(family, "show", "show one", &arguments, Show));
  CLI::App* set = withName(AddCommand(family, "set", "change one", &arguments, Set));
  arguments.status.AddTo(set);
  CLI::App* remove = withName(
      AddCommand(family, "remove", "remove one from the configuration; its mail stays on disk",
                 &arguments, Remove));
  remove->add_flag("--force", arguments.force, "with all its mailboxes and groups");
}

}  // namespace corvane::cvctl
