#include "scheduler/daemon.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <syslog.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <system_error>

#include "base/clock.h"
#include "base/file.h"
#include "store/database.h"
#include "store/run_start.h"
#include "store/wake_up.h"

namespace kavo {
namespace {

constexpr std::chrono::seconds kRetry{1};
constexpr std::chrono::seconds kZonesSettle{1};
constexpr std::int64_t kFarFuture = 7258118400;  // 2200

// The store is this process's for as long as it lives: unlike other locks, this one does not live
// on in a child that has not become another program yet.
Descriptor lock_store() {
  with_store([](SQLite::Database&) {});  // creates the folder
  const std::string file = store_folder() + "/schedd.lock";
  Descriptor lock = open_shared_file(file);
  if (!lock.valid()) {
    throw std::runtime_error("The file " + file + " cannot be opened: " + strerror(errno));
  }
  struct flock whole = {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  if (fcntl(lock.get(), F_SETLK, &whole) != 0) {
    throw std::runtime_error(errno == EAGAIN || errno == EACCES
                                 ? "Another scheduler works on the store in " + store_folder() + "."
                                 : "The file " + file + " cannot be locked: " + strerror(errno));
  }
  return lock;
}

Descriptor listen_for_end() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return Descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

// For somebody who may not do it.
void stop(std::int64_t run_id) {
  try {
    if (!stop_own_run(run_id)) {
      syslog(LOG_ERR, "Run %lld cannot be stopped: its runner belongs to another account",
             static_cast<long long>(run_id));
    }
  } catch (const StoreFailure& failure) {
    syslog(failure.code() == StoreError::kEnded ? LOG_INFO : LOG_ERR, "%s", failure.what());
  }
}

// The moment of the machine's start by the clock as it is set now. It stays while the clock is not
// set, also while the machine sleeps.
std::int64_t moment_of_boot() {
  timespec since_boot = {};
  clock_gettime(CLOCK_BOOTTIME, &since_boot);
  return Clock::now() - since_boot.tv_sec;
}

}  // namespace

Daemon::Daemon(RunStarter& starter)
    : lock_(lock_store()),
      wake_ups_(listen_for_wake_ups()),
      signals_(listen_for_end()),
      timer_(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)),
      scheduler_(starter, zones_.state()),
      boot_(moment_of_boot()) {
  if (!signals_.valid() || !timer_.valid()) {
    throw std::system_error(errno, std::generic_category(), "The scheduler cannot be set up");
  }
}

void Daemon::run() {
  syslog(LOG_INFO, "The scheduler works on the store in %s", store_folder().c_str());
  do {
    pass();
    arm_timer();
  } while (wait());
  syslog(LOG_INFO, "The scheduler ends; tasks that run go on");
}

void Daemon::pass() {
  const std::int64_t boot = moment_of_boot();
  scheduler_.clock_passed(Clock::now() - boot + boot_);
  boot_ = boot;
  std::string failure;
  try {
    scheduler_.pass();
  } catch (const std::exception& error) {
    failure = error.what();
  }
  again_ = failure.empty() ? std::nullopt : std::optional(Steady::now() + kRetry);
  if (failure != failure_) {
    syslog(failure.empty() ? LOG_NOTICE : LOG_ERR, "%s",
           failure.empty() ? "The store can be used again" : failure.c_str());
    failure_ = failure;
  }
}

// For the next pass. However far that is, the timer also tells when the clock is set.
void Daemon::arm_timer() const {
  itimerspec spec = {};
  spec.it_value.tv_sec =
      std::clamp<std::int64_t>(scheduler_.next_pass().value_or(kFarFuture), 1, kFarFuture);
  if (again_) {
    spec.it_value.tv_sec = kFarFuture;  // what is due has been tried, and will be
  }
  if (timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &spec, nullptr) !=
      0) {
    throw std::system_error(errno, std::generic_category(), "timerfd_settime");
  }
}

// Sleeps until a pass is to be made. False when it is time to end.
bool Daemon::wait() {
  for (;;) {
    std::array<pollfd, 5> events = {
        pollfd{signals_.get(), POLLIN, 0}, pollfd{wake_ups_.get(), POLLIN, 0},
        pollfd{timer_.get(), POLLIN, 0}, pollfd{scheduler_.descriptor(), POLLIN, 0},
        pollfd{zones_.descriptor(), POLLIN, 0}};
    if (poll(events.data(), events.size(), timeout()) < 0) {
      if (errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "poll");
      }
      continue;  // it was stopped and went on; what has happened meanwhile is still to be told
    }
    if (events[0].revents != 0) {
      if (events[1].revents != 0) {
        pass();  // what was asked for before is still started
      }
      return false;
    }
    for (const std::int64_t run_id : take_wake_ups(wake_ups_)) {
      stop(run_id);
    }
    if (events[4].revents != 0 && zones_.changed()) {
      zones_settled_ = Steady::now() + kZonesSettle;
    }
    const Steady::time_point now = Steady::now();
    const bool new_zones = zones_settled_ && *zones_settled_ <= now;
    if (new_zones) {
      syslog(LOG_NOTICE, "The time zones were changed: next runs are worked out anew");
      scheduler_.set_zones(zones_.state());
      zones_settled_.reset();
    }
    // A timer that was cancelled because the clock was set is readable, too.
    if (new_zones || events[1].revents != 0 || events[2].revents != 0 || events[3].revents != 0 ||
        (again_ && *again_ <= now)) {
      return true;
    }
  }
}

// Milliseconds until something is to be done that nothing announces; -1 for never.
int Daemon::timeout() const {
  if (!again_ && !zones_settled_) {
    return -1;
  }
  const Steady::time_point next = std::min(again_.value_or(Steady::time_point::max()),
                                           zones_settled_.value_or(Steady::time_point::max()));
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Steady::now()).count();
  return static_cast<int>(std::max<std::int64_t>(left, 0));
}

}  // namespace kavo
