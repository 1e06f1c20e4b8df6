#include "web/check_password.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "base/descriptor.h"
#include "base/process_descriptor.h"
#include "base/root.h"
#include "base/utf8.h"

namespace kavo {
namespace {

constexpr char kProgram[] = "/usr/kavo/lib/kavo-check-password";
constexpr char kServiceFile[] = "/etc/pam.d/kavo-webd";
constexpr std::size_t kMaxNameBytes = 256;

// A process that has `input` as its standard input, `messages` as its standard error, and nothing
// else of this one.
class CheckProcess {
 public:
  CheckProcess(const char* const* arguments, int input, int messages) {
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&files, messages, STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::string root = "KAVO_ROOT=" + rooted("");
    std::string path = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    char* const environment[] = {path.data(), rooted("").empty() ? nullptr : root.data(), nullptr};
    error_ = posix_spawn(&process_, arguments[0], &files, &attributes,
                         const_cast<char* const*>(arguments), environment);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
  }
  CheckProcess(const CheckProcess&) = delete;
  CheckProcess& operator=(const CheckProcess&) = delete;
  ~CheckProcess() {
    if (process_ > 0) {
      kill(process_, SIGKILL);
      wait();
    }
  }

  // Why it was not started; 0 when it was.
  int error() const { return error_; }

  // Its status when it ends in time, else -1.
  int wait_for(std::chrono::milliseconds limit) {
    const Descriptor held = hold_process(process_);
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
      pollfd watched = {held.get(), POLLIN, 0};
      const int ready = poll(&watched, 1, static_cast<int>(std::max<long>(0, left.count())));
      if (ready > 0 && held.valid()) {
        return wait();
      }
      if (ready == 0 || errno != EINTR) {
        return -1;
      }
    }
  }

 private:
  int wait() {
    int status = -1;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = 0;
    return status;
  }

  pid_t process_ = 0;
  int error_ = 0;
};

std::array<Descriptor, 2> new_pair() {
  int ends[2] = {-1, -1};
  (void)socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

// What has arrived, for a log line.
std::string received(const Descriptor& end) {
  char text[1024];
  const ssize_t size = recv(end.get(), text, sizeof text, MSG_DONTWAIT);
  std::string line(text, size > 0 ? static_cast<std::size_t>(size) : 0);
  while (!line.empty() && line.back() == '\n') {
    line.pop_back();
  }
  return line;
}

}  // namespace

bool can_check_passwords() {
  struct stat status = {};
  return stat(rooted(kServiceFile).c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

PasswordCheck check_password(const std::string& user, const std::string& address,
                             std::string_view password, std::chrono::milliseconds limit,
                             std::string& why) {
  if (user.empty() || user.size() > kMaxNameBytes || !is_clean_text(user) || password.empty() ||
      password.size() > kMaxPasswordBytes) {
    return PasswordCheck::kWrong;
  }
  const std::string program = rooted(kProgram);
  const char* const arguments[] = {program.c_str(), user.c_str(), address.c_str(), nullptr};
  auto [input, child_input] = new_pair();
  auto [messages, child_messages] = new_pair();
  if (!child_input.valid() || !child_messages.valid()) {
    why = std::string("No socket can be made: ") + strerror(errno);
    return PasswordCheck::kCannotCheck;
  }
  CheckProcess process(arguments, child_input.get(), child_messages.get());
  if (process.error() != 0) {
    why = program + " cannot be started: " + strerror(process.error());
    return PasswordCheck::kCannotCheck;
  }
  // Less than a socket holds: this does not wait.
  (void)send(input.get(), password.data(), password.size(), MSG_NOSIGNAL);
  shutdown(input.get(), SHUT_WR);
  const int status = process.wait_for(limit);
  if (WIFEXITED(status) && WEXITSTATUS(status) < static_cast<int>(PasswordCheck::kCannotCheck)) {
    return static_cast<PasswordCheck>(WEXITSTATUS(status));
  }
  why = status == -1 ? program + " took too long." : received(messages);
  return PasswordCheck::kCannotCheck;
}

}  // namespace kavo
