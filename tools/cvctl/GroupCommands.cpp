// GroupCommands.cpp -- cvctl group add, list, show, set, remove, and group member add, remove.
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

using configuration::GroupEntry;
using configuration::MemberEntry;
using nlohmann::ordered_json;
using platform::Database;

constexpr const char* kKind = "group";

struct Arguments {
  std::string name;
  std::string postoffice;
  std::string item;
  StatusFlags status;
  bool json = false;
};

std::string Thing(const PairedName& name) { return "group " + name.postoffice + "/" + name.name; }

ordered_json ToJson(const GroupEntry& entry) {
  return {{"postoffice", entry.postoffice}, {"group", entry.name}, {"enabled", entry.status == 1}};
}

void Add(const Arguments& arguments) {
  const PairedName name = SplitGroupName(arguments.name);
  Database store = OpenForChanges();
  ExpectDone(configuration::AddGroup(store, name.postoffice, name.name,
                                     arguments.status.Status().value_or(1)),
             store, {Thing(name), "postoffice " + name.postoffice});
  ConfirmJson(arguments.json, kKind, arguments.name, "added");
}

void List(const Arguments& arguments) {
  Database store = OpenForReading();
  if (!arguments.postoffice.empty()) ExpectPostoffice(store, arguments.postoffice);
  ordered_json all = ordered_json::array();
  const auto visit = [&](const GroupEntry& entry) {
    if (arguments.json) {
      all.push_back(ToJson(entry));
    } else {
      std::printf("%s\t%s\n", Shown(entry.postoffice + "/" + entry.name).c_str(),
                  StatusWord(entry.status));
    }
  };
  ExpectFound(configuration::ListGroups(store, arguments.postoffice, visit), store, "group");
  if (arguments.json) PrintJson({{"groups", all}});
}

void Show(const Arguments& arguments) {
  const PairedName name = SplitGroupName(arguments.name);
  Database store = OpenForReading();
  GroupEntry entry;
  ExpectFound(configuration::FindGroup(store, name.postoffice, name.name, entry), store,
              Thing(name));
  ordered_json members = ordered_json::array();
  const auto visit = [&](const MemberEntry& member) { members.push_back(member.item); };
  ExpectFound(configuration::ListMembers(store, name.postoffice, name.name, visit), store,
              Thing(name));
  if (arguments.json) {
    ordered_json document = ToJson(entry);
    document["members"] = members;
    PrintJson(document);
    return;
  }
  std::printf("group    %s\nstatus   %s\nmembers  %zu\n",
              Shown(entry.postoffice + "/" + entry.name).c_str(), StatusWord(entry.status),
              members.size());
  for (const auto& member : members) {
    std::printf("  %s\n", Shown(member.get_ref<const std::string&>()).c_str());
  }
}

void Set(const Arguments& arguments) {
  const PairedName name = SplitGroupName(arguments.name);
  const auto status = arguments.status.Status();
  if (!status) throw Failure(kUsage, "nothing to set: give --enabled or --disabled");
  Database store = OpenForChanges();
  ExpectDone(configuration::SetGroup(store, name.postoffice, name.name, *status), store,
             {Thing(name)});
  ConfirmJson(arguments.json, kKind, arguments.name, "changed");
}

void Remove(const Arguments& arguments) {
  const PairedName name = SplitGroupName(arguments.name);
  Database store = OpenForChanges();
  ExpectDone(configuration::RemoveGroup(store, name.postoffice, name.name), store, {Thing(name)});
  ConfirmJson(arguments.json, kKind, arguments.name, "removed");
}

void AddOneMember(const Arguments& arguments) {
  const PairedName name = SplitGroupName(arguments.name);
  const std::string item = AsItem(arguments.item, kLongestMember);
  Database store = OpenForChanges();
  ExpectDone(configuration::AddMember(store, name.postoffice, name.name, item), store,
             {"member " + item + " of " + Thing(name), Thing(name), item});
  ConfirmJson(arguments.json, "member", item, "added");
}

void RemoveOneMember(const Arguments& arguments) {
  const PairedName name = SplitGroupName(arguments.name);
  const std::string item = AsItem(arguments.item, kLongestMember);
  Database store = OpenForChanges();
  ExpectDone(configuration::RemoveMember(store, name.postoffice, name.name, item), store,
             {"member " + item + " of " + Thing(name), Thing(name)});
  ConfirmJson(arguments.json, "member", item, "removed");
}

}  // namespace

void AddGroupCommands(CLI::App& app) {
  static Arguments arguments;
  CLI::App* family = AddFamily(app, "group", "groups and their members");
  const auto withName = [](CLI::App* command) {
    command->add_option("NAME", arguments.name, "POSTOFFICE/GROUP")->required();
    AddJsonFlag(command, &arguments.json);
    return command;
  };
  arguments.status.AddTo(withName(AddCommand(family, "add", "add one", &arguments, Add)));
  CLI::App* list =
      AddCommand(family, "list", "list all, or those of a postoffice", &arguments, List);
  list->add_option("POSTOFFICE", arguments.postoffice, "only its groups");
  AddJsonFlag(list, &arguments.json);
  withName(AddCommand(family, "show", "show one, with its members", &arguments, Show));
  arguments.status.AddTo(withName(AddCommand(family, "set", "change one", &arguments, Set)));
  withName(AddCommand(family, "remove", "remove one", &arguments, Remove));
  CLI::App* member = AddFamily(*family, "member", "the members of a group");
  const auto withItem = [&](CLI::App* command) {
    withName(command)
        ->add_option("ITEM", arguments.item, "POSTOFFICE/MAILBOX, a mail address or an item")
        ->required();
  };
  withItem(AddCommand(member, "add", "add one", &arguments, AddOneMember));
  withItem(AddCommand(member, "remove", "remove one", &arguments, RemoveOneMember));
}

}  // namespace corvane::cvctl
