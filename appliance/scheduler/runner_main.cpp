// kavo-runner: the process of one run. Started by the scheduler with the run's lock as
// descriptor 3.
//
// It marks the run as started, executes its command, and writes the output and the end of the run
// to the store, so that the scheduler may end meanwhile. TERM stops the run.

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
// A disk that is full, or a store that is locked, may be so for a while: a run is worth waiting
// for.
constexpr std::chrono::seconds kRetry{1};
constexpr std::chrono::hours kPatience{24};

// Does what the store has to go along with, again and again until it does.
template <typename Operation>
auto insist(std::int64_t run_id, const std::string& what, Operation operation) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  for (;;) {
    try {
      return operation();
    } catch (const kavo::StoreFailure& failure) {
      syslog(LOG_ERR, "Run %lld cannot be recorded as %s: %s", static_cast<long long>(run_id),
             what.c_str(), failure.what());
      if (std::chrono::steady_clock::now() >= deadline) {
        throw;
      }
    }
    std::this_thread::sleep_for(kRetry);
  }
}

// Saves output while the run goes on; a failure is left to the end of the run to tell.
bool save_output(std::int64_t run_id, std::size_t position, std::string_view bytes) {
  try {
    return kavo::append_output(run_id, position, bytes);
  } catch (const kavo::StoreFailure&) {
    return false;
  }
}

void run(std::int64_t run_id) {
  if (!insist(run_id, "started", [&] { return kavo::mark_started(run_id, getpid()); })) {
    return;
  }
  kavo::ExecuteOptions options;
  options.save_output = [&](std::size_t position, std::string_view bytes) {
    return save_output(run_id, position, bytes);
  };
  const kavo::Run claimed = insist(run_id, "running", [&] { return kavo::load_run(run_id); });
  const kavo::RunEnd end = kavo::execute(claimed, options);
  insist(run_id, end.result, [&] {
    kavo::end_run(run_id, end);
    return true;
  });
}

}  // namespace

int main(int argc, char** argv) {
  std::int64_t run_id = 0;
  if (argc != 2 || std::from_chars(argv[1], argv[1] + strlen(argv[1]), run_id).ec != std::errc()) {
    dprintf(STDERR_FILENO, "kavo-runner is started by kavo-schedd, for one run.\n");
    return 2;
  }
  close_range(kFirstForeignDescriptor, ~0U, 0);
  kavo::accept_stops();
  openlog("kavo-runner", LOG_PID, LOG_CRON);
  try {
    run(run_id);
    return 0;
  } catch (const std::exception& error) {
    syslog(LOG_ERR, "Run %lld: %s", static_cast<long long>(run_id), error.what());
    return 1;
  }
}
