// WorkerPlaces.h -- the places that running workers take, and the wait for one to become free.
//
// The count itself is settings::ActiveDeliveryThreads(). Any thread.
#pragma once

namespace corvane {

// Gives a worker's place back; the last thing that a worker does.
void LeavePlace();

// Takes a place before the worker's thread is started; given back unless the thread came to be.
class TakenPlace {
 public:
  TakenPlace();
  ~TakenPlace();
  TakenPlace(const TakenPlace&) = delete;
  TakenPlace& operator=(const TakenPlace&) = delete;
  void KeepForWorker() { kept_ = true; }

 private:
  bool kept_ = false;
};

// Returns when a worker has left its place since the call, or after some milliseconds. For a poller
// that may not wait a set time and should not spin.
void WaitForPlace();

}  // namespace corvane
