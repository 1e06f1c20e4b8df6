// Starting a task.
#pragma once

#include <cstdint>

namespace kavo {

// Records a run of a stored task by hand and starts its runner; does not wait for the end. Returns
// the run's id. Throws StoreFailure: what claim_run() throws, or kNotStarted, with the run recorded
// as refused, when the runner cannot be started. Safe in a process of several threads.
std::int64_t start_run(int task_id);

}  // namespace kavo
