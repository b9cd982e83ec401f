// NotificationStream.h -- the text that tells clients what has changed in a mailbox.
//
// Seven fields with tabs between them: action, kind of item, postoffice, mailbox, folder, an extra
// field, the item's file name; CR LF CR LF at its end. The bare word COMMIT is a stream too.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

struct NotificationFields {
  std::string_view action;    // "ADD", "MOD", "DEL", "NEW" ...
  std::string_view itemType;  // "MSG", "FLD", "VCF"
  std::string_view postoffice;
  std::string_view mailbox;
  std::string_view folder;  // "\Inbox"
  std::string_view extra;
  std::string_view item;
};

// The fields in their order, and the end.
[[nodiscard]] std::string BuildNotificationStream(const NotificationFields& fields);

}  // namespace corvane
