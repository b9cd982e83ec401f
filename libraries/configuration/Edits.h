// Edits.h -- changes to the configuration store.
//
// Each takes a store that is open for changes; all of it happens or nothing does. Names are given
// checked: what can't be a directory's name doesn't get in here.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Database.h"

namespace corvane::configuration {

enum class EditResult : std::uint8_t {
  kDone,
  kExists,    // there is one of that name
  kTaken,     // the name belongs to a mailbox where a group was to be added, or the other way about
  kMissing,   // the thing itself isn't there
  kNoOwner,   // the postoffice, group or mailbox that it belongs to isn't there
  kNoTarget,  // the mailbox or group that it names isn't there
  kInUse,     // the postoffice still has mailboxes or groups
  kFailed,    // the store failed: the database's ErrorText() tells
};

// What a change sets; the rest stays.
struct MailboxChange {
  std::optional<std::int32_t> status = {};
  std::optional<std::optional<std::uint32_t>> quota = {};  // KB; an empty inner value takes it away
  std::optional<std::string> redirect = {};
  std::optional<std::int32_t> redirectStatus = {};
};

using platform::Database;

[[nodiscard]] EditResult AddPostoffice(Database& store, std::string_view name, std::int32_t status);
[[nodiscard]] EditResult SetPostoffice(Database& store, std::string_view name, std::int32_t status);
// With its mailboxes and groups only when `withContent` is set. Options, address maps and
// places in groups of what goes go too.
[[nodiscard]] EditResult RemovePostoffice(Database& store, std::string_view name, bool withContent);

[[nodiscard]] EditResult AddMailbox(Database& store, std::string_view postoffice,
                                    std::string_view mailbox, const MailboxChange& values);
[[nodiscard]] EditResult SetMailbox(Database& store, std::string_view postoffice,
                                    std::string_view mailbox, const MailboxChange& values);
[[nodiscard]] EditResult RemoveMailbox(Database& store, std::string_view postoffice,
                                       std::string_view mailbox);

[[nodiscard]] EditResult AddGroup(Database& store, std::string_view postoffice,
                                  std::string_view group, std::int32_t status);
[[nodiscard]] EditResult SetGroup(Database& store, std::string_view postoffice,
                                  std::string_view group, std::int32_t status);
[[nodiscard]] EditResult RemoveGroup(Database& store, std::string_view postoffice,
                                     std::string_view group);
// kNoTarget for an item of this connector, "[SF:...]", that names neither mailbox nor group.
[[nodiscard]] EditResult AddMember(Database& store, std::string_view postoffice,
                                   std::string_view group, std::string_view item);
[[nodiscard]] EditResult RemoveMember(Database& store, std::string_view postoffice,
                                      std::string_view group, std::string_view item);

[[nodiscard]] EditResult AddDomain(Database& store, std::string_view name);
[[nodiscard]] EditResult RemoveDomain(Database& store, std::string_view name);

// kNoTarget as with AddMember.
[[nodiscard]] EditResult AddMap(Database& store, std::string_view address, std::string_view item);
[[nodiscard]] EditResult RemoveMap(Database& store, std::string_view address);

// kNoOwner when the key names no postoffice (kind 1) or mailbox (kind 2).
[[nodiscard]] EditResult SetOption(Database& store, std::int32_t kind, std::string_view key,
                                   std::string_view name, std::string_view value);
[[nodiscard]] EditResult DeleteOption(Database& store, std::int32_t kind, std::string_view key,
                                      std::string_view name);

}  // namespace corvane::configuration
