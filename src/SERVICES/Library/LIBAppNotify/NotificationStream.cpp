#include "SERVICES/Library/LIBAppNotify/NotificationStream.h"

namespace corvane {

std::string BuildNotificationStream(const NotificationFields& fields) {
  std::string stream(fields.action);
  for (std::string_view field : {fields.itemType, fields.postoffice, fields.mailbox, fields.folder,
                                 fields.extra, fields.item}) {
    stream.append("\t").append(field);
  }
  return stream.append("\r\n\r\n");
}

}  // namespace corvane
