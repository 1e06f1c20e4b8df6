#include "scheduler/run_starter.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <string>
#include <system_error>

#include "base/process_descriptor.h"
#include "base/root.h"

namespace kavo {
namespace {

constexpr char kRunner[] = "/usr/kavo/lib/kavo-runner";
constexpr int kLockDescriptor = 3;

// The attributes and files of a process that inherits nothing but the lock.
class SpawnSettings {
 public:
  explicit SpawnSettings(int lock) {
    posix_spawn_file_actions_init(&files_);
    posix_spawnattr_init(&attributes_);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      posix_spawn_file_actions_addopen(&files_, standard, "/dev/null", O_RDWR, 0);
    }
    posix_spawn_file_actions_adddup2(&files_, lock, kLockDescriptor);
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

Descriptor RunnerStarter::start(std::int64_t run_id, const RunLock& lock) {
  const SpawnSettings settings(lock.descriptor());
  const std::string runner = rooted(kRunner);
  const std::string id = std::to_string(run_id);
  std::string root = "KAVO_ROOT=" + rooted("");
  const char* const arguments[] = {runner.c_str(), id.c_str(), nullptr};
  char* const environment[] = {root.data(), nullptr};
  pid_t process = 0;
  const int error = posix_spawn(&process, runner.c_str(), settings.files(), settings.attributes(),
                                const_cast<char* const*>(arguments), environment);
  if (error != 0) {
    throw std::system_error(error, std::generic_category());
  }
  return hold_process(process);
}

}  // namespace kavo
