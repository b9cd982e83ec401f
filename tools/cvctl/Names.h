// Names.h -- names of postoffices, mailboxes, groups and items as people type them.
//
// Each function throws Failure(kUsage) for what can't be such a name: too long for the records that
// carry it, or no name of a directory.
#pragma once

#include <cstddef>
#include <string>

namespace corvane::cvctl {

// The widths of the record fields, without their NUL.
inline constexpr std::size_t kLongestPostoffice = 127;
inline constexpr std::size_t kLongestMailbox = 63;
inline constexpr std::size_t kLongestGroup = 255;
inline constexpr std::size_t kLongestDomain = 511;
inline constexpr std::size_t kLongestRedirect = 511;
inline constexpr std::size_t kLongestMember = 255;
inline constexpr std::size_t kLongestItem = 1023;
inline constexpr std::size_t kLongestOption = 1023;

struct PairedName {
  std::string postoffice;
  std::string name;
};

void CheckPostofficeName(const std::string& name);
// "POSTOFFICE/MAILBOX" and "POSTOFFICE/GROUP".
[[nodiscard]] PairedName SplitMailboxName(const std::string& text);
[[nodiscard]] PairedName SplitGroupName(const std::string& text);

// An address item: one in brackets as it stands, "acme/anna" as "[SF:acme/anna]", "anna@acme.test"
// as "[SMTP:anna@acme.test]": an address has no "/" before its "@".
[[nodiscard]] std::string AsItem(const std::string& text, std::size_t longest = kLongestItem);
// Items joined by ";", each as AsItem takes it.
[[nodiscard]] std::string AsItemList(const std::string& text, std::size_t longest);

// A mail address: something on both sides of an "@", without blanks or brackets.
[[nodiscard]] bool IsMailAddress(const std::string& address);
void CheckMailAddress(const std::string& address);

}  // namespace corvane::cvctl
