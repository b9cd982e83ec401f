// Lookups.h -- what is asked of the configuration store: one prepared statement a question.
//
// Each takes an open store and gives kUnreachable when the store fails it. Names compare without
// regard to case; those that come back are in the store's own spelling.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "configuration/ConfigurationStore.h"

namespace corvane::configuration {

struct PostofficeEntry {
  std::string name;
  std::int32_t status = 1;  // 1 enabled
};

struct MailboxEntry {
  std::string postoffice;
  std::string name;
  std::int32_t status = 1;
  std::optional<std::uint32_t> quota;  // KB
  std::string redirect;                // address items joined by ";"
  std::int32_t redirectStatus = 0;     // 0 none, 1 redirect only, 2 redirect and keep a copy
};

struct GroupEntry {
  std::string postoffice;
  std::string name;
  std::int32_t status = 1;
};

struct MemberEntry {
  std::int64_t number = 0;  // grows in the order in which members were added
  std::string item;
};

struct MapEntry {
  std::string item;
  std::string address;
};

struct OptionEntry {
  std::string name;
  std::string value;
};

using platform::Database;

[[nodiscard]] Answer FindPostoffice(Database& store, std::string_view name, PostofficeEntry& found);
[[nodiscard]] Answer FindMailbox(Database& store, std::string_view postoffice,
                                 std::string_view mailbox, MailboxEntry& found);
[[nodiscard]] Answer FindGroup(Database& store, std::string_view postoffice, std::string_view group,
                               GroupEntry& found);
// The first member of a group with a number above `after`.
[[nodiscard]] Answer FindMember(Database& store, std::string_view postoffice,
                                std::string_view group, std::int64_t after, MemberEntry& found);
[[nodiscard]] Answer FindDomain(Database& store, std::string_view name);
// The address that an item is known by.
[[nodiscard]] Answer FindAddress(Database& store, std::string_view item, std::string& address);
[[nodiscard]] Answer FindOption(Database& store, std::int32_t kind, std::string_view key,
                                std::string_view name, std::string& value);

// Lists, ordered by name (members by number). An empty postoffice lists those of all. kFound, or
// kUnreachable when the list broke off.
[[nodiscard]] Answer ListPostoffices(Database& store,
                                     const std::function<void(const PostofficeEntry&)>& visit);
[[nodiscard]] Answer ListMailboxes(Database& store, std::string_view postoffice,
                                   const std::function<void(const MailboxEntry&)>& visit);
[[nodiscard]] Answer ListGroups(Database& store, std::string_view postoffice,
                                const std::function<void(const GroupEntry&)>& visit);
[[nodiscard]] Answer ListMembers(Database& store, std::string_view postoffice,
                                 std::string_view group,
                                 const std::function<void(const MemberEntry&)>& visit);
[[nodiscard]] Answer ListDomains(Database& store,
                                 const std::function<void(const std::string&)>& visit);
[[nodiscard]] Answer ListMaps(Database& store, const std::function<void(const MapEntry&)>& visit);
[[nodiscard]] Answer ListOptions(Database& store, std::int32_t kind, std::string_view key,
                                 const std::function<void(const OptionEntry&)>& visit);

}  // namespace corvane::configuration
