// StorePaths.h -- where the postoffices and their mailboxes lie.
//
//   root                           Mail Root\<postoffice>, or the postoffice's option
//   PostofficeRoot when
//                                  `Allow Custom Postoffice Paths` is 1 and the option is set
//   root\MAILROOT\<mailbox>        a mailbox
//   root\MAILROOT\<mailbox>\Inbox  one of its folders
//
// Any thread. The names must have passed platform::IsSafeName.
#pragma once

#include <string>

namespace corvane {

// The directory of a postoffice.
[[nodiscard]] std::string GetPostofficeRoot(const std::string& postoffice);

// For the calling thread GetPostofficeRoot answers `root` for `postoffice`, without asking, as long
// as this lives: what has been begun in one place is ended there, also when the options get out of
// reach in between. Scopes nest.
class HeldPostofficeRoot {
 public:
  HeldPostofficeRoot(std::string postoffice, std::string root);
  ~HeldPostofficeRoot();
  HeldPostofficeRoot(const HeldPostofficeRoot&) = delete;
  HeldPostofficeRoot& operator=(const HeldPostofficeRoot&) = delete;

 private:
  friend std::string GetPostofficeRoot(const std::string& postoffice);

  const std::string postoffice_;
  const std::string root_;
  const HeldPostofficeRoot* const outer_;
};

}  // namespace corvane
