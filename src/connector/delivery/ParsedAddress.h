// ParsedAddress.h -- address items: the bracketed texts of senders and recipients.
//
//   [SF:postoffice/mailbox]   a mailbox or group of a local postoffice
//   [LS:postoffice/mailbox]   the same parts, a list-server address
//   [SMTP:address]            an Internet address
//
// Items are joined by ";" without blanks into a Recipients list.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// The longest item of a list; a longer one counts as an empty one.
inline constexpr std::size_t kMaximumItemBytes = 1023;

struct ParsedAddress {
  std::string Raw;
  std::string Postoffice;
  std::string Mailbox;
  std::string Connector;
  std::string SmtpAddress;

  // Takes an item apart; parts that it hasn't stay empty. An unknown code is told on the debugger
  // channel.
  [[nodiscard]] static ParsedAddress Parse(std::string_view item);

  // The address itself for SMTP, mailbox@postoffice for SF, otherwise an empty text and false.
  [[nodiscard]] bool ToInternetAddress(std::string& address) const;
};

// What delivery reads of a recipient item: the text between the first ":" and the first "/" as the
// postoffice, and what is behind it up to the first "]" from the second character on as the name.
// The code before the colon isn't looked at.
struct RecipientNames {
  bool hasSigns = false;  // both ":" and "/" are there
  bool closed = false;    // and a "]" behind a name of at least one character
  std::string_view postoffice;
  std::string_view name;
};
[[nodiscard]] RecipientNames SplitRecipient(std::string_view item);

// The address inside "[SMTP:" and "]" of a sender, at most 1023 bytes; empty for any other form.
[[nodiscard]] std::string_view SenderAddress(std::string_view sender);

// Walks the items of a list: none for an empty list, otherwise one more than there are ";" from the
// second character on, at most 1,000,000.
class RecipientWalker {
 public:
  explicit RecipientWalker(std::string_view list);
  [[nodiscard]] std::size_t Count() const { return count_; }
  [[nodiscard]] std::optional<std::string_view> Next();
  // Whether an item that is not empty is still to come.
  [[nodiscard]] bool HasMore() const;

 private:
  std::string_view list_;
  std::size_t count_ = 0;
  std::size_t given_ = 0;
  std::size_t at_ = 0;
  std::size_t end_ = 0;  // behind the last item that is not empty
};

}  // namespace corvane
