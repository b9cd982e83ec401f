#include "cvctl/StoreAccess.h"

#include "configuration/ConfiguredStore.h"
#include "configuration/Lookups.h"
#include "cvctl/Command.h"
#include "cvctl/Installation.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane::cvctl {
namespace {

using configuration::Answer;
using configuration::EditResult;
using platform::DatabaseMode;

std::string StorePath() {
  std::string path = configuration::ConfiguredStorePath();
  if (!path.empty()) return path;
  ExpectSettings();
  throw Failure(kTrouble,
                "the settings name no configuration store: make an installation with 'cvctl init "
                "DIR', or set 'Configuration Directory' with 'cvctl settings set'");
}

platform::Database Open(DatabaseMode mode) {
  const std::string path = platform::SystemPath(StorePath());
  std::string why;
  platform::Database store = configuration::OpenConfiguration(path, mode, &why);
  if (store) return store;
  std::string advice = "check the file and its rights, or restore it from a backup";
  if (!platform::FileExists(path)) {
    advice = mode == DatabaseMode::kReadOnly ? "make it with 'cvctl postoffice add'"
                                             : "make its directory, or run 'cvctl init DIR'";
  }
  throw Failure(kTrouble, "can't open the configuration store: " + why + "; " + advice);
}

[[noreturn]] void FailByStore(const platform::Database& store) {
  throw Failure(kTrouble, "the configuration store failed: " + store.ErrorText() +
                              "; nothing was changed, check the file and try again");
}

// "there is no mailbox acme/anna", and where to look: the families are called as their things.
[[noreturn]] void FailMissing(const std::string& thing) {
  const std::string family = thing.substr(0, thing.find(' '));
  const std::string look = family == "member" ? "group show" : family + " list";
  throw Failure(kNotFound, "there is no " + thing + "; see 'cvctl " + look + "'");
}

}  // namespace

platform::Database OpenForReading() { return Open(DatabaseMode::kReadOnly); }
platform::Database OpenForChanges() { return Open(DatabaseMode::kCreate); }

void ExpectDone(EditResult result, const platform::Database& store, const ChangeWords& words) {
  const std::string& thing = words.thing;
  switch (result) {
    case EditResult::kDone:
      return;
    case EditResult::kExists:
      throw Failure(kUsage, thing + " is there already; change it with 'set', or remove it first");
    case EditResult::kTaken:
      throw Failure(kUsage, "the name of " + thing +
                                " is taken: a mailbox and a group can't share one; choose another");
    case EditResult::kMissing:
      FailMissing(thing);
    case EditResult::kNoOwner:
      throw Failure(kNotFound, "there is no " + words.owner + "; add it first");
    case EditResult::kNoTarget:
      throw Failure(kNotFound, words.target +
                                   " names no mailbox or group that is there; add it first, or "
                                   "see 'cvctl mailbox list'");
    case EditResult::kInUse:
      throw Failure(kUsage, thing +
                                " still has mailboxes or groups; remove them first, or all of "
                                "it with --force (mail on disk stays)");
    case EditResult::kFailed:
      FailByStore(store);
  }
}

void ExpectFound(Answer answer, const platform::Database& store, const std::string& thing) {
  if (answer == Answer::kUnreachable) FailByStore(store);
  if (answer == Answer::kUnknown) FailMissing(thing);
}

void ExpectPostoffice(platform::Database& store, const std::string& name) {
  configuration::PostofficeEntry entry;
  ExpectFound(configuration::FindPostoffice(store, name, entry), store, "postoffice " + name);
}

}  // namespace corvane::cvctl
