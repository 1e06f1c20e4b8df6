#include "scheduler/run_starter.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "base/root.h"

namespace kavo {
namespace {

constexpr char kMaker[] = "/usr/kavo/lib/kavo-runner";
constexpr int kMakerSocket = 3;
constexpr timeval kMakerPatience = {10, 0};  // it answers within microseconds, unless it is dead

struct SocketPair {
  Descriptor mine;
  Descriptor other;
};

SocketPair socket_pair() {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
    throw std::system_error(errno, std::generic_category());
  }
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

// The attributes and files of a process that inherits nothing but its socket.
class SpawnSettings {
 public:
  explicit SpawnSettings(int socket) {
    posix_spawn_file_actions_init(&files_);
    posix_spawnattr_init(&attributes_);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      posix_spawn_file_actions_addopen(&files_, standard, "/dev/null", O_RDWR, 0);
    }
    posix_spawn_file_actions_adddup2(&files_, socket, kMakerSocket);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&files_);
  }

  const posix_spawn_file_actions_t* files() const { return &files_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t files_;
  posix_spawnattr_t attributes_;
};

}  // namespace

RunnerStarter::~RunnerStarter() {
  end_maker();
}

// Asks for a runner; none when nobody answers.
std::optional<Runner> RunnerStarter::ask(std::int64_t run_id, const RunLock& lock) {
  if (!socket_.valid()) {
    return std::nullopt;
  }
  SocketPair line = socket_pair();
  RunnerAnswer answer;
  if (!send_request(socket_.get(), run_id, lock.descriptor(), line.other.get()) ||
      recv(socket_.get(), &answer, sizeof answer, 0) != sizeof answer) {
    return std::nullopt;
  }
  if (answer.error != 0) {
    throw std::system_error(answer.error, std::generic_category());
  }
  return Runner{answer.process, std::move(line.mine)};
}

Runner RunnerStarter::start(std::int64_t run_id, const RunLock& lock) {
  // A maker that has ended is replaced. Should it have made a runner before it ended, still only
  // one of two can be marked as the runner of this run.
  std::optional<Runner> runner = ask(run_id, lock);
  if (!runner) {
    end_maker();
    start_maker();
    runner = ask(run_id, lock);
  }
  if (!runner) {
    throw std::system_error(ECONNRESET, std::generic_category(), "It ended at once");
  }
  return std::move(*runner);
}

void RunnerStarter::start_maker() {
  SocketPair sockets = socket_pair();
  setsockopt(sockets.mine.get(), SOL_SOCKET, SO_RCVTIMEO, &kMakerPatience, sizeof kMakerPatience);
  const SpawnSettings settings(sockets.other.get());
  const std::string maker = rooted(kMaker);
  std::string root = "KAVO_ROOT=" + rooted("");
  const char* const arguments[] = {maker.c_str(), nullptr};
  char* const environment[] = {root.data(), nullptr};
  const int error = posix_spawn(&maker_, maker.c_str(), settings.files(), settings.attributes(),
                                const_cast<char* const*>(arguments), environment);
  if (error != 0) {
    maker_ = 0;
    throw std::system_error(error, std::generic_category());
  }
  socket_ = std::move(sockets.mine);
}

void RunnerStarter::end_maker() {
  socket_ = Descriptor();
  if (maker_ > 0) {
    (void)kill(maker_, SIGKILL);  // in case that it hangs
    (void)waitpid(maker_, nullptr, 0);
    maker_ = 0;
  }
}

}  // namespace kavo
