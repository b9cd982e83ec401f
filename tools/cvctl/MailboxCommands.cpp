// MailboxCommands.cpp -- cvctl mailbox add, list, show, set, remove.
#include <charconv>
#include <cstdio>
#include <string>

#include "configuration/ConfiguredStore.h"
#include "configuration/Edits.h"
#include "configuration/Lookups.h"
#include "configuration/MailboxSizes.h"
#include "cvctl/Advice.h"
#include "cvctl/Command.h"
#include "cvctl/CommandTree.h"
#include "cvctl/ConfigurationCommands.h"
#include "cvctl/Names.h"
#include "cvctl/Printing.h"
#include "cvctl/StatusFlags.h"
#include "cvctl/StoreAccess.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane::cvctl {
namespace {

using configuration::Answer;
using configuration::MailboxChange;
using configuration::MailboxEntry;
using nlohmann::ordered_json;
using platform::Database;

// The largest quota that a record can carry: one more means that there is none.
constexpr std::uint32_t kLargestQuota = 0xFFFFFFFE;

constexpr const char* kKind = "mailbox";

struct Arguments {
  std::string name;
  std::string postoffice;
  std::string quota;
  bool hasQuota = false;
  std::string redirect;
  bool hasRedirect = false;
  int redirectMode = -1;
  StatusFlags status;
  bool json = false;
};

std::string Thing(const PairedName& name) { return "mailbox " + name.postoffice + "/" + name.name; }

std::optional<std::uint32_t> ReadQuota(const std::string& text) {
  if (text == "none") return std::nullopt;
  std::uint32_t quota = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), quota);
  if (error != std::errc{} || end != text.data() + text.size() || quota > kLargestQuota) {
    throw Failure(kUsage, "'" + text + "' is no quota: give KB, 0 to 4294967294, or none");
  }
  return quota;
}

// An empty list ends the redirection, its mode with it.
void ReadRedirect(const std::string& list, MailboxChange& change) {
  change.redirect = list.empty() ? "" : AsItemList(list, kLongestRedirect);
  if (list.empty()) change.redirectStatus = 0;
}

// What the arguments say; `now` is the redirection in force.
MailboxChange ReadChange(const Arguments& arguments, const MailboxEntry& now) {
  MailboxChange change;
  change.status = arguments.status.Status();
  if (arguments.hasQuota) change.quota = ReadQuota(arguments.quota);
  if (arguments.hasRedirect) ReadRedirect(arguments.redirect, change);
  if (arguments.redirectMode >= 0) change.redirectStatus = arguments.redirectMode;
  const bool hasList = !change.redirect.value_or(now.redirect).empty();
  const bool redirects = change.redirectStatus.value_or(now.redirectStatus) != 0;
  if (hasList && change.redirect && !redirects) {
    throw Failure(kUsage,
                  "--redirect needs --redirect-mode: give 1 to redirect, 2 to keep a copy too");
  }
  if (redirects && !hasList) {
    throw Failure(kUsage, "--redirect-mode needs --redirect: give the items to redirect to");
  }
  return change;
}

// The option is looked at only where the settings allow it.
std::string CustomRoot(Database& store, const std::string& postoffice) {
  std::string root;
  if (!configuration::AllowsCustomRoots()) return root;
  const Answer answer =
      configuration::FindOption(store, 1, postoffice, configuration::kPostofficeRootOption, root);
  if (answer == Answer::kUnreachable) ExpectFound(answer, store, "option");
  return root;
}

std::string DirectoryOf(Database& store, const std::string& postoffice,
                        const std::string& mailbox) {
  return configuration::MailboxDirectory(postoffice, mailbox, CustomRoot(store, postoffice));
}

void MakeDirectory(const std::string& directory) {
  if (directory.empty()) {
    throw Failure(kTrouble,
                  "there is no place for the mailbox: set 'Mail Root' with 'cvctl settings set'");
  }
  if (platform::CreateDirectories(platform::JoinPath(directory, "Inbox"))) return;
  throw Failure(kTrouble, "can't make the mailbox's directory " + platform::SystemPath(directory) +
                              ": " + WithAdvice(platform::LastError()));
}

// Takes an empty mailbox directory away again; what holds mail stays.
void RemoveEmptyDirectory(const std::string& directory) {
  if (platform::RemoveDirectory(platform::JoinPath(directory, "Inbox"))) {
    static_cast<void>(platform::RemoveDirectory(directory));
  }
}

// Refuses what AddMailbox would, before anything is made for it.
void ExpectFree(Database& store, const PairedName& name, const ChangeWords& words,
                configuration::PostofficeEntry& owner) {
  using configuration::EditResult;
  if (configuration::FindPostoffice(store, name.postoffice, owner) == Answer::kUnknown) {
    ExpectDone(EditResult::kNoOwner, store, words);
  }
  MailboxEntry mailbox;
  if (configuration::FindMailbox(store, name.postoffice, name.name, mailbox) == Answer::kFound) {
    ExpectDone(EditResult::kExists, store, words);
  }
  configuration::GroupEntry group;
  if (configuration::FindGroup(store, name.postoffice, name.name, group) == Answer::kFound) {
    ExpectDone(EditResult::kTaken, store, words);
  }
}

// The directory comes first: mail for a mailbox that is known must find its place.
void Add(const Arguments& arguments) {
  const PairedName name = SplitMailboxName(arguments.name);
  const MailboxChange values = ReadChange(arguments, {});
  const ChangeWords words{Thing(name), "postoffice " + name.postoffice};
  Database store = OpenForChanges();
  configuration::PostofficeEntry owner;
  ExpectFree(store, name, words, owner);
  const std::string directory = DirectoryOf(store, owner.name, name.name);
  const bool isNew = !directory.empty() && !platform::DirectoryExists(directory);
  MakeDirectory(directory);
  const auto result = configuration::AddMailbox(store, name.postoffice, name.name, values);
  if (result != configuration::EditResult::kDone && isNew) RemoveEmptyDirectory(directory);
  ExpectDone(result, store, words);
  ConfirmJson(arguments.json, kKind, arguments.name, "added");
}

ordered_json ToJson(const MailboxEntry& entry) {
  ordered_json document = {
      {"postoffice", entry.postoffice}, {"mailbox", entry.name},
      {"enabled", entry.status == 1},   {"quotaKb", nullptr},
      {"redirect", entry.redirect},     {"redirectMode", entry.redirectStatus}};
  if (entry.quota) document["quotaKb"] = *entry.quota;
  return document;
}

std::string QuotaText(const MailboxEntry& entry) {
  return entry.quota ? std::to_string(*entry.quota) + " KB" : "none";
}

void List(const Arguments& arguments) {
  Database store = OpenForReading();
  if (!arguments.postoffice.empty()) ExpectPostoffice(store, arguments.postoffice);
  ordered_json all = ordered_json::array();
  const auto visit = [&](const MailboxEntry& entry) {
    if (arguments.json) {
      all.push_back(ToJson(entry));
    } else {
      std::printf("%s\t%s\tquota %s\n", Shown(entry.postoffice + "/" + entry.name).c_str(),
                  StatusWord(entry.status), QuotaText(entry).c_str());
    }
  };
  ExpectFound(configuration::ListMailboxes(store, arguments.postoffice, visit), store, "mailbox");
  if (arguments.json) PrintJson({{"mailboxes", all}});
}

void Show(const Arguments& arguments) {
  const PairedName name = SplitMailboxName(arguments.name);
  Database store = OpenForReading();
  MailboxEntry entry;
  ExpectFound(configuration::FindMailbox(store, name.postoffice, name.name, entry), store,
              Thing(name));
  const std::string directory = DirectoryOf(store, entry.postoffice, entry.name);
  configuration::MailboxSizes sizes(false);
  const std::uint64_t kilobytes = directory.empty() ? 0 : (sizes.BytesOf(directory) + 1023) / 1024;
  const std::string systemDirectory = platform::SystemPath(directory);
  if (arguments.json) {
    ordered_json document = ToJson(entry);
    document["sizeKb"] = kilobytes;
    document["directory"] = systemDirectory;
    PrintJson(document);
    return;
  }
  std::printf("mailbox        %s\nstatus         %s\nquota          %s\n",
              Shown(entry.postoffice + "/" + entry.name).c_str(), StatusWord(entry.status),
              QuotaText(entry).c_str());
  std::printf("size           %llu KB\nredirect       %s\nredirect mode  %d\ndirectory      %s\n",
              static_cast<unsigned long long>(kilobytes), Shown(entry.redirect).c_str(),
              entry.redirectStatus, Shown(systemDirectory).c_str());
}

void Set(const Arguments& arguments) {
  const PairedName name = SplitMailboxName(arguments.name);
  Database store = OpenForChanges();
  MailboxEntry now;
  ExpectFound(configuration::FindMailbox(store, name.postoffice, name.name, now), store,
              Thing(name));
  const MailboxChange change = ReadChange(arguments, now);
  if (!change.status && !change.quota && !change.redirect && !change.redirectStatus) {
    throw Failure(kUsage,
                  "nothing to set: give --quota, --redirect, --redirect-mode, --enabled or "
                  "--disabled");
  }
  ExpectDone(configuration::SetMailbox(store, name.postoffice, name.name, change), store,
             {Thing(name)});
  ConfirmJson(arguments.json, kKind, arguments.name, "changed");
}

void Remove(const Arguments& arguments) {
  const PairedName name = SplitMailboxName(arguments.name);
  Database store = OpenForChanges();
  ExpectDone(configuration::RemoveMailbox(store, name.postoffice, name.name), store, {Thing(name)});
  ConfirmJson(arguments.json, kKind, arguments.name, "removed");
}

}  // namespace

void AddMailboxCommands(CLI::App& app) {
  static Arguments arguments;
  CLI::App* family = AddFamily(app, "mailbox", "mailboxes, their quotas and redirections");
  const auto withName = [](CLI::App* command) {
    command->add_option("NAME", arguments.name, "POSTOFFICE/MAILBOX")->required();
    AddJsonFlag(command, &arguments.json);
    return command;
  };
  const auto withValues = [](CLI::App* command) {
    command->add_option("--quota", arguments.quota, "KB, or none")->each([](const std::string&) {
      arguments.hasQuota = true;
    });
    command->add_option("--redirect", arguments.redirect, "items joined by ';'; empty for none")
        ->each([](const std::string&) { arguments.hasRedirect = true; });
    command
        ->add_option("--redirect-mode", arguments.redirectMode,
                     "0 none, 1 redirect only, 2 redirect and keep a copy")
        ->check(CLI::Range(0, 2));
    arguments.status.AddTo(command);
  };
  withValues(withName(AddCommand(family, "add", "add one, with its directory", &arguments, Add)));
  CLI::App* list =
      AddCommand(family, "list", "list all, or those of a postoffice", &arguments, List);
  list->add_option("POSTOFFICE", arguments.postoffice, "only its mailboxes");
  AddJsonFlag(list, &arguments.json);
  withName(AddCommand(family, "show", "show one, with its size", &arguments, Show));
  withValues(withName(AddCommand(family, "set", "change one", &arguments, Set)));
  withName(AddCommand(family, "remove", "remove one from the configuration; its mail stays on disk",
                      &arguments, Remove));
}

}  // namespace corvane::cvctl
