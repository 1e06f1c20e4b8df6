// Waking the scheduler: a datagram to its socket in the store's folder, which only the appliance's
// own account can enter. What it says is nothing but "look at the store".
#pragma once

#include "base/descriptor.h"

namespace kavo {

// A line to the scheduler that listens on this store. One thread at a time.
class SchedulerLine {
 public:
  // Throws StoreFailure (kNoScheduler) when none listens.
  SchedulerLine();
  // Wakes it, without waiting. Throws the same when it no longer listens.
  void wake() const;

 private:
  Descriptor socket_;
};

// Wakes the scheduler if one listens: it looks at the store anyway when it starts.
void wake_scheduler();

// The scheduler's end: a socket that is readable after each wake-up, and does not block. Throws
// StoreFailure (kUnavailable). At most one process per store may ask for it.
Descriptor listen_for_wake_ups();

}  // namespace kavo
