#include "scheduler/execute.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "base/descriptor.h"
#include "scheduler/identity.h"
#include "scheduler/process_tree.h"
#include "scheduler/tool_link.h"

namespace kavo {
namespace {

using std::chrono::milliseconds;
using Moment = std::chrono::steady_clock::time_point;

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

  // What has not been saved, and where in the output that stands.
  std::string_view unsaved() const { return std::string_view(text_).substr(saved_); }
  std::size_t saved() const { return saved_; }
  void mark_saved() { saved_ = text_.size(); }

  // What is left to save at the end, with a line that says what was cut.
  std::string rest() const {
    std::string text(unsaved());
    return cut_ == 0 ? text : text + "\n[" + std::to_string(cut_) + " more bytes were cut]\n";
  }

 private:
  std::string text_;
  std::size_t saved_ = 0;
  std::size_t cut_ = 0;
};

RunEnd end_of(int status) {
  if (WIFSIGNALED(status)) {
    return {result::kSignal, WTERMSIG(status), "", ""};
  }
  const int code = WEXITSTATUS(status);
  return {code == 0 ? result::kOk : result::kExitCode, code, "", ""};
}

sigset_t handled_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGCHLD);
  sigaddset(&signals, SIGTERM);
  return signals;
}

// A descriptor that is readable once a run's time is over, the time that the machine sleeps
// included; none without a limit.
Descriptor limit_timer(int seconds) {
  if (seconds == 0) {
    return {};
  }
  Descriptor timer(timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK));
  itimerspec spec = {};
  spec.it_value.tv_sec = seconds;
  if (!timer.valid() || timerfd_settime(timer.get(), 0, &spec, nullptr) != 0) {
    throw std::system_error(errno, std::generic_category(), "The time limit cannot be set");
  }
  return timer;
}

// A command that goes on, from the start of its shell to the end.
class Execution {
 public:
  Execution(const Run& run, const Identity& identity, const ExecuteOptions& options)
      : options_(options), limit_(limit_timer(run.time_limit)) {
    const sigset_t handled = handled_signals();
    signals_ = Descriptor(signalfd(-1, &handled, SFD_CLOEXEC | SFD_NONBLOCK));
    int ends[2] = {-1, -1};
    if (!signals_.valid() || pipe2(ends, O_CLOEXEC) != 0) {
      throw std::system_error(errno, std::generic_category(), "A pipe cannot be made");
    }
    output_ = Descriptor(ends[0]);
    const Descriptor input(ends[1]);
    fcntl(output_.get(), F_SETFL, O_NONBLOCK);
    shell_ = fork();
    if (shell_ < 0) {
      throw std::system_error(errno, std::generic_category(), "A process cannot be started");
    }
    if (shell_ == 0) {
      become_command(run, identity, input.get());
    }
  }

  RunEnd finish() {
    while (!is_over()) {
      wait();
      handle_signals();
      handle_limit();
      press_on();
      save();
    }
    read_the_rest();
    RunEnd end = stopped_as_ ? RunEnd{stopped_as_, {}, "", ""} : end_of(*status_);
    end.output = text_.rest();
    end.output_position = text_.saved();
    return end;
  }

 private:
  // A run that is stopped is over when nothing of it is left, any other one with its shell.
  bool is_over() const {
    return status_.has_value() && (stopped_as_ == nullptr || descendants().empty());
  }

  // Until something happens or is to be done. Reads output.
  void wait() {
    std::array<pollfd, 3> events = {pollfd{signals_.get(), POLLIN, 0},
                                    pollfd{output_.get(), POLLIN, 0},
                                    pollfd{limit_.get(), POLLIN, 0}};
    if (poll(events.data(), events.size(), timeout()) < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "poll");
    }
    if (events[1].revents != 0 && !text_.read_from(output_.get())) {
      output_ = Descriptor();  // closed by all: there is only the end to wait for
    }
  }

  // Milliseconds until something is to be done that nothing announces; -1 for never.
  int timeout() const {
    std::optional<Moment> next;
    if (stopped_as_ != nullptr) {
      next = kill_at_;
    }
    if (options_.save_output && !text_.unsaved().empty()) {
      next = std::min(next.value_or(save_at_), save_at_);
    }
    if (!next) {
      return -1;
    }
    const auto left =
        std::chrono::ceil<milliseconds>(*next - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::max<std::int64_t>(left, 0));
  }

  void handle_signals() {
    signalfd_siginfo signal;
    while (read(signals_.get(), &signal, sizeof signal) == sizeof signal) {
      if (signal.ssi_signo == SIGTERM) {
        stop(result::kStopped);
      }
    }
    int status = 0;
    for (pid_t child = 0; (child = waitpid(-1, &status, WNOHANG)) > 0;) {
      if (child == shell_) {
        status_ = status;
      }
    }
  }

  void handle_limit() {
    std::uint64_t expirations = 0;
    if (limit_.valid() && read(limit_.get(), &expirations, sizeof expirations) > 0) {
      stop(result::kTimeLimit);
    }
  }

  void stop(const char* as) {
    if (stopped_as_ != nullptr || status_) {
      return;
    }
    stopped_as_ = as;
    signal_descendants(SIGTERM);
    kill_at_ = std::chrono::steady_clock::now() + options_.grace;
  }

  // Ends what has outlived its grace. Again and again, as long as something is left: it may have
  // multiplied meanwhile.
  void press_on() {
    constexpr milliseconds kAgain{100};
    if (stopped_as_ != nullptr && std::chrono::steady_clock::now() >= kill_at_) {
      signal_descendants(SIGKILL);
      kill_at_ = std::chrono::steady_clock::now() + kAgain;
    }
  }

  void save() {
    const Moment now = std::chrono::steady_clock::now();
    if (options_.save_output && !text_.unsaved().empty() && now >= save_at_) {
      if (options_.save_output(text_.saved(), text_.unsaved())) {
        text_.mark_saved();
      }
      save_at_ = now + options_.save_interval;
    }
  }

  // What is in the pipe at the end, and no more: processes in the background may go on writing.
  void read_the_rest() {
    constexpr int kReadsOfAFullPipe = 16;
    for (int i = 0; i < kReadsOfAFullPipe && output_.valid() && text_.read_from(output_.get());
         ++i) {
    }
  }

  const ExecuteOptions& options_;
  Descriptor limit_;
  Descriptor signals_;
  Descriptor output_;
  pid_t shell_ = 0;
  std::optional<int> status_;  // the shell's, once it has ended
  Output text_;
  Moment save_at_ = std::chrono::steady_clock::now() + options_.save_interval;
  const char* stopped_as_ = nullptr;  // the result, once the run is being stopped
  Moment kill_at_;
};

}  // namespace

void accept_stops() {
  const sigset_t handled = handled_signals();
  sigprocmask(SIG_BLOCK, &handled, nullptr);
  prctl(PR_SET_CHILD_SUBREAPER, 1);
}

RunEnd execute(const Run& run, const ExecuteOptions& options) {
  try {
    check_tool_link(run.command);
    return Execution(run, find_identity(run.owner), options).finish();
  } catch (const std::exception& error) {
    return {result::kRefused, {}, error.what(), ""};
  }
}

}  // namespace kavo
