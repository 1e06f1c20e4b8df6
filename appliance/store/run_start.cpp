#include "store/run_start.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "base/root.h"
#include "store/failure.h"
#include "store/run_lock.h"
#include "store/run_store.h"

namespace kavo {
namespace {

constexpr char kRunner[] = "/usr/kavo/lib/kavo-runner";
constexpr int kLockDescriptor = 3;

// Starts the runner with the run's lock as descriptor 3 and nothing else of this process's. The
// runner detaches itself at once, so that waiting for the process that was started is short. Zero,
// or an error number.
int spawn_runner(std::int64_t run_id, const RunLock& lock) {
  const std::string runner = rooted(kRunner);
  const std::string id = std::to_string(run_id);
  std::string root = "KAVO_ROOT=" + rooted("");
  const char* const arguments[] = {runner.c_str(), id.c_str(), nullptr};
  char* const environment[] = {root.data(), nullptr};

  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&files);
  posix_spawnattr_init(&attributes);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&files, standard, "/dev/null", O_RDWR, 0);
  }
  posix_spawn_file_actions_adddup2(&files, lock.descriptor(), kLockDescriptor);
  sigset_t none;
  sigset_t all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

  pid_t process = 0;
  const int error = posix_spawn(&process, runner.c_str(), &files, &attributes,
                                const_cast<char* const*>(arguments), environment);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  if (error == 0) {
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  return error;
}

}  // namespace

std::int64_t start_run(int task_id) {
  RunLock lock;
  const Run run = claim_run(task_id, lock);
  const int error = spawn_runner(run.id, lock);
  if (error != 0) {
    const std::string why = std::string("The runner cannot be started: ") + strerror(error);
    end_run(run.id, {result::kRefused, {}, why, ""});
    throw StoreFailure(StoreError::kNotStarted, why);
  }
  return run.id;
}

}  // namespace kavo
