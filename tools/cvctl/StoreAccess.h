// StoreAccess.h -- the configuration store as commands use it: open or a clear failure.
#pragma once

#include <string>

#include "configuration/ConfigurationStore.h"
#include "configuration/Edits.h"
#include "platform/Database.h"

namespace corvane::cvctl {

// The store that the settings name, for reading or for changes; a change makes a store that isn't
// there yet. Throws Failure.
[[nodiscard]] platform::Database OpenForReading();
[[nodiscard]] platform::Database OpenForChanges();

// What a change is about, as error lines name it.
struct ChangeWords {
  std::string thing;        // "mailbox acme/anna"
  std::string owner = "";   // what that belongs to: "postoffice acme"
  std::string target = "";  // the item that it leads to: "[SF:acme/anna]"
};

// Throws Failure unless the change was done.
void ExpectDone(configuration::EditResult result, const platform::Database& store,
                const ChangeWords& words);

// Throws Failure unless the look-up found something.
void ExpectFound(configuration::Answer answer, const platform::Database& store,
                 const std::string& thing);
void ExpectPostoffice(platform::Database& store, const std::string& name);

}  // namespace corvane::cvctl
