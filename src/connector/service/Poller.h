// Poller.h -- sweeps the outbound queue and starts a worker for each message that is due.
#pragma once

namespace corvane {

// Runs on its caller's thread until the stop flag is set, which it sees between waits and between
// files. Doesn't wait for the workers that it has started.
//
// Reads <Connector Root Directory>\SF\Outgoing\*.MAI in the order of the file system; holds nothing
// between sweeps. An empty or missing directory is an empty queue.
void PollOutboundQueue();

}  // namespace corvane
