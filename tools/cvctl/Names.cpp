#include "cvctl/Names.h"

#include <algorithm>

#include "cvctl/Command.h"
#include "platform/Path.h"

namespace corvane::cvctl {
namespace {

[[noreturn]] void Refuse(const std::string& line) { throw Failure(kUsage, line); }

void CheckName(const std::string& name, std::size_t longest, const char* what) {
  if (name.size() > longest) {
    Refuse("'" + name + "' is too long for a " + what + ": give at most " +
           std::to_string(longest) + " bytes");
  }
  // A bracket or a semicolon would end the item that the name stands in.
  if (!platform::IsSafeName(name) || name.find_first_of("[];") != std::string::npos) {
    Refuse("'" + name + "' can't be the name of a " + what +
           ": give one without separators, brackets, ';' and control characters that doesn't end "
           "in a blank or a point");
  }
}

PairedName Split(const std::string& text, std::size_t longest, const char* what, const char* form) {
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos) {
    Refuse("'" + text + "' names no " + what + ": write it as " + form);
  }
  PairedName pair{text.substr(0, slash), text.substr(slash + 1)};
  CheckPostofficeName(pair.postoffice);
  CheckName(pair.name, longest, what);
  return pair;
}

bool HasControls(const std::string& text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

void CheckItem(const std::string& item, std::size_t longest) {
  if (item.size() > longest) {
    Refuse("'" + item + "' is too long for an item: give at most " + std::to_string(longest) +
           " bytes");
  }
  const std::size_t colon = item.find(':');
  const bool formed = item.front() == '[' && item.find(']') == item.size() - 1 &&
                      item.rfind('[') == 0 && colon > 1 && colon != std::string::npos &&
                      colon + 2 < item.size() && item.find(';') == std::string::npos;
  if (!formed || HasControls(item)) {
    Refuse("'" + item +
           "' is no address item: write POSTOFFICE/MAILBOX, a mail address, or an "
           "item such as [SF:acme/anna]");
  }
}

}  // namespace

void CheckPostofficeName(const std::string& name) {
  CheckName(name, kLongestPostoffice, "postoffice");
}

PairedName SplitMailboxName(const std::string& text) {
  return Split(text, kLongestMailbox, "mailbox", "POSTOFFICE/MAILBOX");
}

PairedName SplitGroupName(const std::string& text) {
  return Split(text, kLongestGroup, "group", "POSTOFFICE/GROUP");
}

std::string AsItem(const std::string& text, std::size_t longest) {
  std::string item = text;
  if (text.empty()) Refuse("an empty text is no address item: write POSTOFFICE/MAILBOX");
  if (text.front() != '[') {
    const bool isAddress = text.find('@') < text.find('/');
    item = (isAddress ? "[SMTP:" : "[SF:") + text + "]";
    if (isAddress) CheckMailAddress(text);
  }
  if (item.starts_with("[SF:") && item.ends_with("]")) {
    (void)Split(item.substr(4, item.size() - 5), kLongestGroup, "mailbox", "POSTOFFICE/MAILBOX");
  }
  CheckItem(item, longest);
  return item;
}

std::string AsItemList(const std::string& text, std::size_t longest) {
  std::string list;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = std::min(text.find(';', begin), text.size());
    std::string item = text.substr(begin, end - begin);
    item.erase(0, std::min(item.find_first_not_of(' '), item.size()));
    item.erase(item.find_last_not_of(' ') + 1);
    list += (list.empty() ? "" : ";") + AsItem(item);
    if (end == text.size()) break;
    begin = end + 1;
  }
  if (list.size() > longest) {
    Refuse("the list of items is too long: at most " + std::to_string(longest) +
           " bytes; make a group and name that");
  }
  return list;
}

bool IsMailAddress(const std::string& address) {
  const std::size_t at = address.rfind('@');
  return at != std::string::npos && at > 0 && at + 1 < address.size() && !HasControls(address) &&
         address.find_first_of(" []<>;") == std::string::npos;
}

void CheckMailAddress(const std::string& address) {
  if (IsMailAddress(address)) return;
  Refuse("'" + address + "' is no mail address: write NAME@DOMAIN");
}

}  // namespace corvane::cvctl
