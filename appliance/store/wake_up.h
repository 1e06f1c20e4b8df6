// Telling the scheduler: a datagram to its socket in the store's folder, which only those who share
// the store can enter. What it says is nothing but "look at the store", or which run to stop.
#pragma once

#include <cstdint>
#include <vector>

#include "base/descriptor.h"

namespace kavo {

// A line to the scheduler that listens on this store. One thread at a time.
class SchedulerLine {
 public:
  // Throws StoreFailure (kNoScheduler) when none listens.
  SchedulerLine();
  // Wakes it, without waiting. Throws the same when it no longer listens.
  void wake() const;
  // Asks it to stop a run, without waiting; it does what it can. Throws the same, also when its
  // queue is full.
  void ask_to_stop(std::int64_t run_id) const;

 private:
  Descriptor socket_;
};

// Wakes the scheduler if one listens: it looks at the store anyway when it starts.
void wake_scheduler();

// The scheduler's end: a socket that is readable after each message, and does not block. Throws
// StoreFailure (kUnavailable). At most one process per store may ask for it, while it has one
// thread.
Descriptor listen_for_wake_ups();

// Takes all messages from the scheduler's end; the runs that it is asked to stop.
std::vector<std::int64_t> take_wake_ups(const Descriptor& socket);

}  // namespace kavo
