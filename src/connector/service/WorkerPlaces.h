// WorkerPlaces.h -- the places that running workers take, and the wait for one to become free.
//
// The count itself is settings::ActiveDeliveryThreads(). Any thread.
#pragma once

namespace corvane {

// Gives a worker's place back; the last thing that a worker does.
void LeavePlace();

// Returns when a worker has left its place since the call, or after some milliseconds. For a poller
// that may not wait a set time and should not spin.
void WaitForPlace();

}  // namespace corvane
