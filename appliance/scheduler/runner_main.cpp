// kavo-runner: the process of one run. Started by the store with the run's lock as descriptor 3.
//
// It detaches itself, executes the run's command and writes the end of the run to the store, so
// that whoever started it may end meanwhile.

#include <linux/close_range.h>
#include <syslog.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "scheduler/execute.h"
#include "store/failure.h"

namespace {

constexpr unsigned int kFirstForeignDescriptor = 4;
// A disk that is full, or a store that is locked, may be so for a while: the end of a run is worth
// waiting for.
constexpr std::chrono::seconds kRetry{1};
constexpr std::chrono::hours kPatience{24};

void record_end(std::int64_t run_id, const kavo::RunEnd& end) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  for (;;) {
    try {
      kavo::end_run(run_id, end);
      return;
    } catch (const kavo::StoreFailure& failure) {
      syslog(LOG_ERR, "The end of run %lld (%s) cannot be recorded: %s",
             static_cast<long long>(run_id), end.result.c_str(), failure.what());
      if (std::chrono::steady_clock::now() >= deadline) {
        return;
      }
    }
    std::this_thread::sleep_for(kRetry);
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::int64_t run_id = 0;
  if (argc != 2 || std::from_chars(argv[1], argv[1] + strlen(argv[1]), run_id).ec != std::errc()) {
    dprintf(STDERR_FILENO, "kavo-runner is started by the task store, for one run.\n");
    return 2;
  }
  close_range(kFirstForeignDescriptor, ~0U, 0);
  const pid_t detached = fork();
  if (detached != 0) {
    return detached > 0 ? 0 : 1;
  }
  setsid();
  openlog("kavo-runner", LOG_PID, LOG_CRON);
  try {
    record_end(run_id, kavo::execute(kavo::load_run(run_id)));
    return 0;
  } catch (const std::exception& error) {
    syslog(LOG_ERR, "Run %lld: %s", static_cast<long long>(run_id), error.what());
    return 1;
  }
}
