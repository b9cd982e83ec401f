// FolderChoice.h -- the stage of a delivery that chooses the folder.
#pragma once

#include "connector/delivery/MailboxDelivery.h"

namespace corvane {

// Resolves the postoffice's root, asks the mailbox's sender lists and chooses between the Inbox,
// junk, bulk and the folders of the registered-mail service, making the folder where it is missing.
// Sets the message's DeliveryFolder and the delivery's target.
void ChooseFolder(MailboxDelivery& delivery);

}  // namespace corvane
