#include "store/run_start.h"

#include <signal.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "base/process_descriptor.h"
#include "store/failure.h"
#include "store/run_claim.h"
#include "store/run_lock.h"
#include "store/run_queue.h"
#include "store/wake_up.h"

namespace kavo {
namespace {

StoreFailure cannot_stop(std::int64_t id) {
  return {StoreError::kUnavailable,
          "Run " + std::to_string(id) + " cannot be stopped: " + strerror(errno) + "."};
}

StoreFailure ended(std::int64_t id, const std::string& how) {
  return {StoreError::kEnded, "Run " + std::to_string(id) + " has ended already: " + how + "."};
}

// Tells the runner of a run that goes on to stop it. False when it belongs to another account.
bool tell_runner(const Run& run) {
  // The process is held first and the lock looked at then: while the lock is held the runner lives,
  // so that the number cannot have gone to another process before.
  const Descriptor runner = hold_process(run.runner);
  if (!runner.valid() && errno != ESRCH) {
    throw cannot_stop(run.id);
  }
  if (!runner.valid() || !RunLock::is_held(run.id)) {
    settle_run(run.id);
    throw ended(run.id, load_run(run.id).result);
  }
  const bool told = signal_process(runner, SIGTERM) || errno == ESRCH;
  if (!told && errno != EPERM) {
    throw cannot_stop(run.id);
  }
  return told;
}

}  // namespace

std::int64_t start_run(int task_id) {
  const SchedulerLine line;
  const std::int64_t id = claim_by_hand(task_id);
  try {
    line.wake();
  } catch (const StoreFailure&) {
    if (take_back(id)) {
      throw;
    }
  }
  return id;
}

bool stop_own_run(std::int64_t id) {
  if (stop_waiting(id)) {
    wake_scheduler();  // a place in the line is free
    return true;
  }
  const Run run = load_run(id);
  if (run.ended) {
    throw ended(id, run.result);
  }
  return tell_runner(run);
}

void stop_run(std::int64_t id) {
  if (!stop_own_run(id)) {
    SchedulerLine().ask_to_stop(id);
  }
}

}  // namespace kavo
