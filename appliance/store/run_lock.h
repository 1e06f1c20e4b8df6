// Telling a run that goes on from one whose runner died.
#pragma once

#include <cstdint>

#include "base/descriptor.h"

namespace kavo {

// A lock that belongs to one run while it goes on. The scheduler takes it before it starts the
// runner and hands it the descriptor, which the runner keeps for its life: the system releases it
// however the runner ends, so that a number used again for another process, or a loss of power,
// deceives nobody. All runs share one file, of which each locks the byte of its id.
class RunLock {
 public:
  // Takes the lock of a run; false when another process holds it. Throws StoreFailure
  // (kUnavailable) when there is no telling.
  bool take(std::int64_t run_id);

  // The descriptor that holds the lock; closed on exec unless it is passed on.
  int descriptor() const { return descriptor_.get(); }

  // Whether any process holds the lock of a run. Throws as take() does.
  static bool is_held(std::int64_t run_id);

 private:
  Descriptor descriptor_;
};

}  // namespace kavo
