#include "cvctl/IndexCommands.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "SERVICES/Library/LIBMessageIndex/FolderIndex.h"
#include "SERVICES/Library/LIBMessageIndex/FolderScan.h"
#include "SERVICES/Library/LIBMessageIndex/IndexFile.h"
#include "SERVICES/Library/LIBMessageIndex/MessageIndexFiles.h"
#include "SERVICES/Library/LIBStoreIndexCore/FolderListing.h"
#include "SERVICES/Library/LIBStoreIndexCore/StoreIndex.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexInspection.h"
#include "cvctl/BracketGuard.h"
#include "cvctl/Command.h"
#include "cvctl/CommandTree.h"
#include "cvctl/Printing.h"
#include "cvctl/Progress.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane::cvctl {
namespace {

struct Arguments {
  std::string folder;
  std::int32_t messageClass = kClassMail;
  std::vector<std::string> items;
  std::string item;
  std::string name;
  std::string value;
  bool json = false;
};

void RequireFolder(const Arguments& arguments) {
  if (platform::DirectoryExists(arguments.folder)) return;
  throw Failure(kNotFound, "there is no folder '" + arguments.folder +
                               "'; give the directory that holds the messages");
}

[[noreturn]] void ThrowUnwritable(const Arguments& arguments) {
  throw Failure(kTrouble, "the index of '" + arguments.folder +
                              "' can't be locked, read or written; see 'cvctl index check' and the "
                              "rights of the folder");
}

nlohmann::ordered_json ItemJson(const IndexItemPropertyContainer& item) {
  PropertyTexts texts;
  item.Export(&texts, nullptr);
  auto properties = nlohmann::ordered_json::object();
  for (const auto& [name, text] : texts) {
    if (name != "ID" && name != "UID" && name != "IDX" && name != "SEQ") properties[name] = text;
  }
  return {{"ID", item.GetText(kPropertyID)},
          {"UID", item.GetNumber(kPropertyUID)},
          {"properties", properties},
          {"offset", item.GetOffset()},
          {"length", item.GetLength()}};
}

void PrintDump(const SORTEDSTOREINDEXTYPE& index, const IndexFileReport& report) {
  std::printf("%s, LASTUID %u, %zu items, %u tombstones\n", report.form.c_str(), index.LastUID,
              index.ItemCount(), report.tombstones);
  for (const IndexItemPropertyContainer* item : index.Sequence) {
    std::printf("%10u  %-10s  %s\n", item->GetNumber(kPropertyUID),
                Shown(item->GetText("FLAGSTATUS")).c_str(),
                Shown(item->GetText(kPropertyID)).c_str());
  }
}

void Dump(const Arguments& arguments) {
  RequireFolder(arguments);
  SORTEDSTOREINDEXTYPE index(nullptr);
  const IndexFileReport report = InspectIndex(&index, arguments.folder, arguments.messageClass);
  if (arguments.json) {
    auto items = nlohmann::ordered_json::array();
    for (const IndexItemPropertyContainer* item : index.Sequence) items.push_back(ItemJson(*item));
    PrintJson({{"lastUid", index.LastUID},
               {"form", report.form},
               {"state", index.LoadState},
               {"items", items},
               {"tombstones", report.tombstones},
               {"error", report.error}});
    return;
  }
  if (!report.error.empty()) {
    throw Failure(kNotFound, "the index can't be read: " + report.error +
                                 "; 'cvctl index rebuild' makes a new one from the messages");
  }
  PrintDump(index, report);
}

void Check(const Arguments& arguments) {
  RequireFolder(arguments);
  const auto faults = CheckIndex(arguments.folder, arguments.messageClass);
  if (arguments.json) {
    PrintJson({{"sound", faults.empty()}, {"faults", faults}});
  } else {
    for (const std::string& fault : faults) std::printf("%s\n", Shown(fault).c_str());
    if (faults.empty()) std::printf("sound\n");
  }
  if (!faults.empty()) throw Failure(kNotFound, "");
}

// The bar of the scan that runs.
std::unique_ptr<Progress> scanBar;

void ShowScan(std::size_t done, std::size_t all) {
  if (!scanBar)
    scanBar = std::make_unique<Progress>("reading", all / std::max<std::size_t>(done, 1));
  scanBar->Step();
}

// Whatever stands in the file between the items goes, also what no reader stumbles over.
bool ScanAndWrite(StoreIndex* store, const Arguments& arguments) {
  IndexLoad load;
  load.store = store;
  load.path = arguments.folder;
  load.alreadyLocked = true;
  load.verifyFiles = 1;
  load.forceRescan = load.recover = true;
  if (!store->Index.Load(load) || store->Index.NeedsSave()) return false;
  store->Index.MarkFullRewrite();
  return store->Index.Save(arguments.folder, arguments.messageClass, true) &&
         store->Index.LastSaveWorked();
}

void Rebuild(const Arguments& arguments) {
  RequireFolder(arguments);
  if (arguments.messageClass != kClassMail) {
    throw Failure(kTrouble,
                  "this build rebuilds folders of messages only (class 0); the index of '" +
                      arguments.folder + "' stays as it is");
  }
  SetScanProgress(ShowScan);
  StoreIndex store(MessageIndexFiles());
  bool rebuilt = false;
  {
    const FolderIndexLock lock(&store, arguments.folder, false);
    rebuilt = lock.IsHeld() && ScanAndWrite(&store, arguments);
  }
  scanBar.reset();
  if (!rebuilt) ThrowUnwritable(arguments);
  if (arguments.json) {
    PrintJson({{"items", store.Index.ItemCount()}, {"lastUid", store.Index.LastUID}});
  } else {
    std::printf("%zu items, LASTUID %u\n", store.Index.ItemCount(), store.Index.LastUID);
  }
}

void Insert(const Arguments& arguments) {
  RequireFolder(arguments);
  if (!platform::IsSafeName(arguments.item) ||
      !platform::FileExists(platform::JoinPath(arguments.folder, arguments.item))) {
    throw Failure(kNotFound, "there is no message file '" + arguments.item + "' in '" +
                                 arguments.folder + "'; put it there first");
  }
  if (!IsIndexedName(arguments.item)) {
    throw Failure(kUsage,
                  "'" + arguments.item +
                      "' is never indexed; give a file whose name doesn't begin with '_' or '.' "
                      "and has fewer than " +
                      std::to_string(kIndexedNameLimit) + " bytes");
  }
  if (InsertIntoFolderIndex(arguments.folder, arguments.item) != 1) ThrowUnwritable(arguments);
  ConfirmJson(arguments.json, "item", arguments.item, "inserted");
}

void Remove(const Arguments& given) {
  Arguments arguments = given;
  arguments.folder = Unguarded(std::move(arguments.folder));
  RequireFolder(arguments);
  std::vector<std::string>& items = arguments.items;
  std::transform(items.begin(), items.end(), items.begin(), Unguarded);
  std::sort(items.begin(), items.end());
  items.erase(std::unique(items.begin(), items.end()), items.end());
  std::size_t removed = 0;
  switch (RemoveFromFolderIndex(arguments.folder, items, &removed)) {
    case IndexChange::kFailed:
      ThrowUnwritable(arguments);
    case IndexChange::kNotThere:
      throw Failure(kNotFound, "the index of '" + arguments.folder +
                                   "' has none of these items; 'cvctl index dump' lists them");
    case IndexChange::kDone:
      break;
  }
  if (removed < items.size()) {
    throw Failure(kNotFound,
                  "removed " + std::to_string(removed) + " of " + std::to_string(items.size()) +
                      " items; the others are not in the index, as 'cvctl index dump' shows");
  }
  if (arguments.json) PrintJson({{"items", items}, {"done", "removed"}});
}

bool IsNumber(const std::string& text) {
  std::uint32_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return text.empty() || (read.ec == std::errc() && read.ptr == text.data() + text.size());
}

void Set(const Arguments& arguments) {
  RequireFolder(arguments);
  const std::string& name = arguments.name;
  if (!IsPropertyName(name) || name == "ID" || name == "UID" || name == "IDX" || name == "SEQ") {
    throw Failure(kUsage, "'" + name +
                              "' is no property that can be set; give a name such as SUBJECT or "
                              "FLAGSTATUS");
  }
  if (FindProperty(nullptr, name).Type == kPropertyNumber && !IsNumber(arguments.value)) {
    throw Failure(kUsage, "'" + name + "' holds a number: give one of up to 4294967295");
  }
  switch (SetInFolderIndex(arguments.folder, arguments.item, name, arguments.value)) {
    case IndexChange::kFailed:
      ThrowUnwritable(arguments);
    case IndexChange::kNotThere:
      throw Failure(kNotFound, "the index of '" + arguments.folder + "' has no item '" +
                                   arguments.item + "'; 'cvctl index dump' lists them");
    case IndexChange::kDone:
      break;
  }
  ConfirmJson(arguments.json, "property", name, "set");
}

void AddClassOption(CLI::App* command, Arguments* arguments) {
  command
      ->add_option("--class", arguments->messageClass,
                   "0, 23, 25 messages, 1 contacts, 2 calendar, 3 tasks, 54 groups (0)")
      ->check(CLI::IsMember({0, 1, 2, 3, 23, 25, 54}));
}

}  // namespace

void AddIndexCommands(CLI::App& app) {
  static Arguments arguments;
  CLI::App* family = AddFamily(app, "index", "the index of a folder's directory");
  const auto add = [&](const char* name, const char* meaning, void (*body)(const Arguments&)) {
    CLI::App* command = AddCommand(family, name, meaning, &arguments, body);
    command->add_option("folder", arguments.folder, "the directory of the folder")->required();
    AddJsonFlag(command, &arguments.json);
    return command;
  };
  CLI::App* dump = add("dump", "list what the index holds", Dump);
  AddClassOption(dump, &arguments);
  CLI::App* check = add("check", "look for faults; exit 0 when it is sound", Check);
  AddClassOption(check, &arguments);
  CLI::App* rebuild = add("rebuild", "bring the index in line with the files", Rebuild);
  AddClassOption(rebuild, &arguments);
  add("insert", "put one message file into the index", Insert)
      ->add_option("item", arguments.item, "the file's name")
      ->required();
  add("remove", "take items out of the index; their files stay", Remove)
      ->add_option("items", arguments.items, "names of files")
      ->required();
  CLI::App* set = add("set", "give a property of an item a value", Set);
  set->add_option("item", arguments.item, "the file's name")->required();
  set->add_option("name", arguments.name, "the property, such as FLAGSTATUS")->required();
  set->add_option("value", arguments.value, "its value; empty takes it away")->required();
}

}  // namespace corvane::cvctl
