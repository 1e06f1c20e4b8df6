// Starting the runner of a run.
#pragma once

#include <cstdint>

#include "base/descriptor.h"
#include "store/run_lock.h"

namespace kavo {

class RunStarter {
 public:
  virtual ~RunStarter() = default;
  // Starts the runner of a run and hands it the run's lock. Returns a descriptor that is readable
  // once the runner has ended; an invalid one when it was started but cannot be watched. Throws
  // std::system_error when it was not started.
  virtual Descriptor start(std::int64_t run_id, const RunLock& lock) = 0;
};

// Starts "/usr/kavo/lib/kavo-runner" as a child in a session of its own.
class RunnerStarter : public RunStarter {
 public:
  Descriptor start(std::int64_t run_id, const RunLock& lock) override;
};

}  // namespace kavo
