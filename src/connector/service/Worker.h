// Worker.h -- delivers one claimed message to each of its recipients, then removes it from the
// queue.
#pragma once

#include <memory>
#include <string>

#include "connector/queue/ConnectorMessage.h"
#include "connector/queue/OutgoingClaim.h"

namespace corvane {

// What the poller hands over. The worker owns it from the moment its thread runs.
struct ClaimedMessage {
  ConnectorMessage message;
  OutgoingClaim claim;  // held until the worker is done: nobody else can take the message meanwhile
  std::string serverName;  // this node
};

// Thread entry, one a message. Puts the claim on the disk, serves the recipients in order, makes
// what was delivered durable, then deletes the message file and the command file, in this order.
//
// Both files stay, in Delivering, when the configuration store can't be reached, an exception comes
// out of delivery, a recipient could not be settled, or what was delivered could not be made
// durable; a message taken again is delivered from its first recipient on. Takes one off
// ActiveDeliveryThreads() as the last thing on every way out. Throws nothing.
void WorkerThread(std::unique_ptr<ClaimedMessage> claimed);

}  // namespace corvane
