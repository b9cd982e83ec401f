// SenderLists.h -- whether a sender is on a list of a mailbox, its postoffice or the system.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// The lists that a sender can be on.
inline constexpr const char* kWhitelist = "Whitelist";
inline constexpr const char* kBlacklist = "Blacklist";

// What of a sender is looked for.
enum class MatchMode : int { kDomainThenAddress = 0, kDomain = 1, kAddress = 2 };
// From which level on: the mailbox, then the postoffice, then the system.
enum class ListLevel : int { kMailbox = 0, kPostoffice = 1, kSystem = 2 };

// Sender lists are not read yet: nobody is listed.
[[nodiscard]] bool SenderIsMailboxListed(std::string_view sender, const std::string& postoffice,
                                         const std::string& mailbox, const char* listName,
                                         MatchMode matchMode, ListLevel lowestLevel);

// The two tests of delivery: domain, then address, at all levels.
[[nodiscard]] inline bool IsSenderWhitelisted(std::string_view sender,
                                              const std::string& postoffice,
                                              const std::string& mailbox) {
  return SenderIsMailboxListed(sender, postoffice, mailbox, kWhitelist,
                               MatchMode::kDomainThenAddress, ListLevel::kMailbox);
}
[[nodiscard]] inline bool IsSenderBlacklisted(std::string_view sender,
                                              const std::string& postoffice,
                                              const std::string& mailbox) {
  return SenderIsMailboxListed(sender, postoffice, mailbox, kBlacklist,
                               MatchMode::kDomainThenAddress, ListLevel::kMailbox);
}

}  // namespace corvane
