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

}  // namespace corvane
