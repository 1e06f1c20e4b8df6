#include "scheduler/execute.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "base/descriptor.h"
#include "scheduler/identity.h"

namespace kavo {
namespace {

constexpr char kPath[] = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

std::vector<std::string> environment_of(const Run& run, const Identity& identity) {
  std::vector<std::string> environment = {
      "HOME=" + identity.home,
      "USER=" + identity.name,
      "LOGNAME=" + identity.name,
      "SHELL=" + identity.shell,
      std::string("PATH=") + kPath,
      "LANG=C.UTF-8",
      "KAVO_TASK_ID=" + std::to_string(run.task_id),
      "KAVO_TASK_NAME=" + run.task_name,
      "KAVO_RUN_ID=" + std::to_string(run.id),
  };
  if (const char* root = secure_getenv("KAVO_ROOT"); root != nullptr && *root != '\0') {
    environment.push_back(std::string("KAVO_ROOT=") + root);
  }
  return environment;
}

[[noreturn]] void give_up(const char* what) {
  (void)dprintf(STDERR_FILENO, "%s: %s\n", what, strerror(errno));
  _exit(126);
}

// In the child: becomes the command.
[[noreturn]] void become_command(const Run& run, const Identity& identity, int output) {
  setsid();
  const int null = open("/dev/null", O_RDONLY);
  dup2(null, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  close_range(STDERR_FILENO + 1, ~0U, 0);
  for (int number = 1; number < NSIG; ++number) {
    (void)signal(number, SIG_DFL);  // not to be had for some, which are at their default anyway
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  umask(S_IWGRP | S_IWOTH);
  if (!take_on(identity)) {
    give_up("The owner's identity cannot be taken on");
  }
  if (chdir(identity.home.c_str()) != 0 && chdir("/") != 0) {
    give_up("There is no folder to run in");
  }
  std::vector<std::string> environment = environment_of(run, identity);
  std::vector<char*> pointers;
  pointers.reserve(environment.size() + 1);
  for (std::string& variable : environment) {
    pointers.push_back(variable.data());
  }
  pointers.push_back(nullptr);
  std::string command = run.command;
  std::array<char, 3> shell{"sh"};
  std::array<char, 3> option{"-c"};
  char* const arguments[] = {shell.data(), option.data(), command.data(), nullptr};
  execve("/bin/sh", arguments, pointers.data());
  give_up("The shell cannot be started");
}

// What a run writes, cut at kMaxOutputBytes.
class Output {
 public:
  // Reads what is there. False at the end of the output, or when nothing is there for now.
  bool read_from(int descriptor) {
    std::array<char, 64 << 10> buffer;
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count <= 0) {
      return count < 0 && errno == EINTR;
    }
    const auto size = static_cast<std::size_t>(count);
    const std::size_t kept = std::min(size, kMaxOutputBytes - text_.size());
    text_.append(buffer.data(), kept);
    cut_ += size - kept;
    return true;
  }

  std::string text() const {
    return cut_ == 0 ? text_ : text_ + "\n[" + std::to_string(cut_) + " more bytes were cut]\n";
  }

 private:
  std::string text_;
  std::size_t cut_ = 0;
};

RunEnd end_of(int status) {
  if (WIFSIGNALED(status)) {
    return {result::kSignal, WTERMSIG(status), "", ""};
  }
  const int code = WEXITSTATUS(status);
  return {code == 0 ? result::kOk : result::kExitCode, code, "", ""};
}

// Reaps every child that has ended. True, with its status, once `shell` is among them.
bool reap(pid_t shell, int& status) {
  bool ended = false;
  int current = 0;
  for (pid_t child = 0; (child = waitpid(-1, &current, WNOHANG)) > 0;) {
    if (child == shell) {
      status = current;
      ended = true;
    }
  }
  return ended;
}

// Collects output until the shell has ended. Its status.
int follow(pid_t shell, int output, int signals, Output& text) {
  std::array<pollfd, 2> events = {pollfd{signals, POLLIN, 0}, pollfd{output, POLLIN, 0}};
  for (;;) {
    if (poll(events.data(), events.size(), -1) < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "poll");
    }
    if (events[1].revents != 0 && !text.read_from(output)) {
      events[1].fd = -1;  // closed by all: there is only the end to wait for
    }
    if (events[0].revents != 0) {
      signalfd_siginfo ignored;
      (void)!read(signals, &ignored, sizeof ignored);
      int status = 0;
      if (reap(shell, status)) {
        while (text.read_from(output)) {
        }
        return status;
      }
    }
  }
}

RunEnd run_as(const Run& run, const Identity& identity) {
  sigset_t child;
  sigemptyset(&child);
  sigaddset(&child, SIGCHLD);
  sigprocmask(SIG_BLOCK, &child, nullptr);
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const Descriptor signals(signalfd(-1, &child, SFD_CLOEXEC));
  int ends[2] = {-1, -1};
  if (!signals.valid() || pipe2(ends, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "A pipe cannot be made");
  }
  const Descriptor output(ends[0]);
  pid_t shell = 0;
  {
    const Descriptor input(ends[1]);
    shell = fork();
    if (shell < 0) {
      throw std::system_error(errno, std::generic_category(), "A process cannot be started");
    }
    if (shell == 0) {
      become_command(run, identity, input.get());
    }
  }
  fcntl(output.get(), F_SETFL, O_NONBLOCK);
  Output text;
  RunEnd end = end_of(follow(shell, output.get(), signals.get(), text));
  end.output = text.text();
  return end;
}

}  // namespace

RunEnd execute(const Run& run) {
  try {
    return run_as(run, find_identity(run.owner));
  } catch (const std::exception& error) {
    return {result::kRefused, {}, error.what(), ""};
  }
}

}  // namespace kavo
