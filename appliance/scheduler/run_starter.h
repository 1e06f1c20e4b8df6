// Starting the runner of a run.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

#include "base/descriptor.h"
#include "scheduler/run_handover.h"
#include "store/run_lock.h"

namespace kavo {

// A runner that was started and waits on the line for its run.
struct Runner {
  pid_t process = 0;
  Line line;
};

class RunStarter {
 public:
  virtual ~RunStarter() = default;
  // Starts the runner of a run and hands it the run's lock. Throws std::system_error when it was
  // not started.
  virtual Runner start(std::int64_t run_id, const RunLock& lock) = 0;
};

// Has runners made by "/usr/kavo/lib/kavo-runner", a process that is started with the first of them
// and ends when this object does; the runners go on.
class RunnerStarter : public RunStarter {
 public:
  ~RunnerStarter() override;
  Runner start(std::int64_t run_id, const RunLock& lock) override;

 private:
  std::optional<Runner> ask(std::int64_t run_id, const RunLock& lock);
  void start_maker();
  void end_maker();

  pid_t maker_ = 0;  // the process that makes runners; 0 for none
  Descriptor socket_;
};

}  // namespace kavo
