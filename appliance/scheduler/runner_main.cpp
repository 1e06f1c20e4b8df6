// kavo-runner: makes the processes of runs, its runners. Started by the scheduler with its socket
// as descriptor 3; ends with the scheduler. Making a runner is a fork of this small process, which
// is much quicker than to start a program, and which has nothing of the store open.
//
// A runner executes the command of its run and saves its output. While the scheduler lives, that
// marks the run as started and records its end, for many runs at once; a runner whose scheduler is
// gone, or fails, does so itself. TERM stops the run.

#include <grp.h>
#include <linux/close_range.h>
#include <pwd.h>
#include <signal.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "scheduler/execute.h"
#include "scheduler/run_handover.h"
#include "store/failure.h"

namespace {

constexpr int kSocket = 3;
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

void execute(const kavo::RunnerRequest& request) {
  auto run = kavo::take_over(request.line);
  const bool handed_over = run.has_value();
  if (!handed_over) {
    run = insist(request.run_id, "started",
                 [&] { return kavo::mark_started(request.run_id, getpid()); });
  }
  if (!run) {
    return;  // it is not to be started
  }
  kavo::ExecuteOptions options;
  options.save_output = [&](std::size_t position, std::string_view bytes) {
    return save_output(run->id, position, bytes);
  };
  const kavo::RunEnd end = kavo::execute(*run, options);
  if (handed_over && kavo::report(request.line, end)) {
    return;
  }
  insist(run->id, end.result, [&] {
    kavo::end_run(run->id, end);
    return true;
  });
}

// The life of a runner. Whatever else the process has goes away with it.
[[noreturn]] void be_runner(const kavo::RunnerRequest& request) {
  close(kSocket);
  setsid();
  (void)signal(SIGCHLD, SIG_DFL);
  kavo::accept_stops();
  try {
    execute(request);
    _exit(0);
  } catch (const std::exception& error) {
    syslog(LOG_ERR, "Run %lld: %s", static_cast<long long>(request.run_id), error.what());
    _exit(1);
  }
}

kavo::RunnerAnswer make_runner(const kavo::RunnerRequest& request) {
  if (!request.lock.valid() || !request.line.valid()) {
    return {0, EMFILE};
  }
  const pid_t process = fork();
  if (process == 0) {
    be_runner(request);
  }
  return process < 0 ? kavo::RunnerAnswer{0, errno} : kavo::RunnerAnswer{process, 0};
}

void serve() {
  while (const auto request = kavo::receive_request(kSocket)) {
    const kavo::RunnerAnswer answer = make_runner(*request);
    (void)send(kSocket, &answer, sizeof answer, MSG_NOSIGNAL);  // the next request fails, too
  }
}

// The signals of a process that makes runners: TERM is for them, from their first moment on, and
// nobody waits for their ends.
void set_signals() {
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  sigprocmask(SIG_BLOCK, &blocked, nullptr);
  (void)signal(SIGCHLD, SIG_IGN);
}

// Once for all runners: the system loads what looks up accounts and groups with the first use.
void look_up_accounts() {
  (void)getpwuid(0);
  gid_t group = 0;
  int count = 1;
  (void)getgrouplist("root", 0, &group, &count);
}

}  // namespace

int main() {
  int type = 0;
  socklen_t size = sizeof type;
  if (getsockopt(kSocket, SOL_SOCKET, SO_TYPE, &type, &size) != 0 || type != SOCK_SEQPACKET) {
    (void)dprintf(STDERR_FILENO, "kavo-runner is started by kavo-schedd.\n");
    return 2;
  }
  close_range(kSocket + 1, ~0U, 0);
  set_signals();
  openlog("kavo-runner", LOG_PID, LOG_CRON);
  look_up_accounts();
  serve();
  return 0;
}
