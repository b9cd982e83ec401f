#include "connector/delivery/MailboxDelivery.h"

#include "connector/logs/Logs.h"

namespace corvane {

void LogInsertionPostponed(const MailboxDelivery& delivery, const std::string& folder) {
  LogDebugF("[%s] Direct Insertion of message into index (PO=%s MBX=%s FLD=%s) was postponed.\n",
            delivery.Id(), delivery.postoffice.c_str(), delivery.record.Mailbox, folder.c_str());
}

}  // namespace corvane
