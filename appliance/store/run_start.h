// Starting and stopping runs by hand. These functions work on the calling thread's connection, may
// be used in a process of several threads, and throw StoreFailure.
#pragma once

#include <cstdint>

namespace kavo {

// Records a run of a stored task by hand and tells the scheduler to start it; does not wait for
// that. Returns the run's id. Fails with what claim_by_hand() throws, or with kNoScheduler when no
// scheduler is listening; then nothing is recorded.
std::int64_t start_run(int task_id);

// Stops a run: one that waits ends as stopped, at once. The runner of one that goes on is told to
// end everything it has started, which takes up to ten seconds; this does not wait for it. Where
// the runner belongs to another account, the scheduler is asked to tell it. Fails with kEnded when
// the run has ended, or its runner has died, and with kNoScheduler when one is needed and not
// there.
void stop_run(std::int64_t id);

// As stop_run(), without the scheduler: false when that is needed.
bool stop_own_run(std::int64_t id);

}  // namespace kavo
