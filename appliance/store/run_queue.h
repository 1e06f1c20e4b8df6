// Unfinished runs as the scheduler sees them: those that wait in line, and those that go on. All
// functions work on the calling thread's connection and throw StoreFailure.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "store/run_store.h"

namespace kavo {

struct WaitingRun {
  std::int64_t id = 0;
  std::string app;
  bool app_alone = false;
};

// Calls `take` with the waiting runs in the order of the line, for as long as it returns true.
void for_each_waiting(const std::function<bool(const WaitingRun&)>& take);

// The runs that were started and have not ended as far as the store knows.
std::vector<Run> started_runs();

// Ends a run whose runner is known to be gone, unless that has recorded an end itself: as
// interrupted, or as refused when it was not even started.
void settle_run(std::int64_t id);

// Ends a waiting run as stopped; false when it no longer waits.
bool stop_waiting(std::int64_t id);

}  // namespace kavo
