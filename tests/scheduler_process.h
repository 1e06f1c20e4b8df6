// kavo-schedd as a program, on the store of the test's root.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

#include "store/failure.h"
#include "store/wake_up.h"

class SchedulerProcess {
 public:
  // Starts it; returns when it listens. What it says goes to `log`.
  explicit SchedulerProcess(const std::string& program, const std::string& log = "/dev/null") {
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, log.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const char* const arguments[] = {program.c_str(), "--verbose", nullptr};
    const int error = posix_spawn(&process_, program.c_str(), &files, nullptr,
                                  const_cast<char* const*>(arguments), environ);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) throw std::runtime_error(program + " cannot be started");
    while (!listens()) {
      if (waitpid(process_, nullptr, WNOHANG) == process_) {
        throw std::runtime_error(program + " has ended at once");
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  SchedulerProcess(const SchedulerProcess&) = delete;
  SchedulerProcess& operator=(const SchedulerProcess&) = delete;
  ~SchedulerProcess() { end(SIGTERM); }

  // Ends it; its status as waitpid() gives it, or -1 when it has ended before.
  int end(int signal) {
    int status = -1;
    if (process_ > 0) {
      kill(process_, signal);
      waitpid(process_, &status, 0);
      process_ = 0;
    }
    return status;
  }

  pid_t process() const { return process_; }

  static bool listens() {
    try {
      const kavo::SchedulerLine line;
      return true;
    } catch (const kavo::StoreFailure&) {
      return false;
    }
  }

 private:
  pid_t process_ = 0;
};
