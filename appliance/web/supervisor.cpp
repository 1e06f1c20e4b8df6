#include "web/supervisor.h"

#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "store/session_store.h"
#include "web/worker.h"

namespace kavo {
namespace {

constexpr int kMaxDraining = 4;  // workers that wait for the end of connections
constexpr int kMaxFailures = 5;  // of workers before any has served
constexpr std::chrono::seconds kSoon{2};
constexpr std::chrono::seconds kLongestPause{10};
constexpr std::chrono::seconds kLongestEnd{15};  // after TERM; workers take less by themselves

Descriptor listen_for_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGCHLD}) {
    sigaddset(&signals, signal);
  }
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return Descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

std::string describe(int status) {
  if (WIFSIGNALED(status)) {
    return std::string("was ended by the signal ") + strsignal(WTERMSIG(status));
  }
  return "ended with code " + std::to_string(WEXITSTATUS(status));
}

std::string own_name() {
  const passwd* account = getpwuid(geteuid());
  if (account == nullptr) throw std::runtime_error("This account has no name.");
  return account->pw_name;
}

}  // namespace

Supervisor::Supervisor(const Options& options, const Limits& limits)
    : options_(options),
      limits_(limits),
      listeners_(listen_on(options.addresses, options.port)),
      signals_(listen_for_signals()) {}

int Supervisor::run() {
  announce();
  for (;;) {
    if (!fill_up()) return be_worker(std::move(worker_channel_));
    std::vector<pollfd> events = {{signals_.get(), POLLIN, 0}};
    for (const Child& child : children_) {
      events.push_back({child.channel.get(), POLLIN, 0});
    }
    if (poll(events.data(), events.size(), timeout()) < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "poll");
    }
    signalfd_siginfo signal = {};
    while (read(signals_.get(), &signal, sizeof signal) == sizeof signal) {
      if (signal.ssi_signo != SIGCHLD) {
        end_workers();
        return 0;
      }
    }
    for (Child& child : children_) {
      listen_to(child);
    }
    reap();
    check_start();
    hurry_oldest();
  }
}

// Starts the workers that are missing. False in a worker.
bool Supervisor::fill_up() {
  if (Steady::now() < not_before_) return true;
  const auto count = [this](auto holds) {
    return static_cast<int>(std::count_if(children_.begin(), children_.end(), holds));
  };
  // A successor is one more until it serves.
  while (count([](const Child& child) {
           return child.state != State::kDraining && child.replaces == 0;
         }) < limits_.workers) {
    if (!fork_worker(0)) return false;
  }
  for (const Child& worn : children_) {
    const bool followed = count([&](const Child& child) { return child.replaces == worn.process; });
    if (worn.state == State::kWorn && !followed && !fork_worker(worn.process)) return false;
  }
  return true;
}

// False in the worker.
bool Supervisor::fork_worker(pid_t replaces) {
  std::array<int, 2> ends = {};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  Descriptor own(ends[0]);
  Descriptor other(ends[1]);
  const pid_t supervisor = getpid();
  const pid_t process = fork();
  if (process == 0) {
    (void)prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != supervisor) (void)raise(SIGTERM);
    worker_channel_ = std::move(other);
    return false;
  }
  if (process < 0) {
    syslog(LOG_ERR, "A worker cannot be started: %s", strerror(errno));
    not_before_ = Steady::now() + kSoon;
    return true;
  }
  Child& child = children_.emplace_back();
  child.process = process;
  child.channel = std::move(own);
  child.replaces = replaces;
  return true;
}

int Supervisor::be_worker(Descriptor channel) {
  children_.clear();  // the ends of the others' channels
  signals_ = Descriptor();
  sigset_t child_signal;
  sigemptyset(&child_signal);
  sigaddset(&child_signal, SIGCHLD);
  sigaddset(&child_signal, SIGINT);
  sigprocmask(SIG_UNBLOCK, &child_signal, nullptr);
  std::vector<int> sockets;
  for (Listener& listener : listeners_) {
    sockets.push_back(listener.socket.release());
  }
  return run_worker(options_, limits_, sockets, channel);
}

void Supervisor::listen_to(Child& child) {
  char what = 0;
  while (recv(child.channel.get(), &what, 1, MSG_DONTWAIT) == 1) {
    if (what == message::kWorn && child.state == State::kServing) {
      child.state = State::kWorn;
    }
    if (what != message::kServing) continue;
    child.state = State::kServing;
    served_ = true;
    failures_ = 0;
    if (Child* worn = find(child.replaces)) {
      worn->state = State::kDraining;
      (void)send(worn->channel.get(), &message::kDrain, 1, MSG_NOSIGNAL);
    }
    child.replaces = 0;
  }
}

void Supervisor::reap() {
  int status = 0;
  for (pid_t process = waitpid(-1, &status, WNOHANG); process > 0;
       process = waitpid(-1, &status, WNOHANG)) {
    const Child* child = find(process);
    if (child == nullptr) continue;
    if (status != 0) {
      syslog(LOG_ERR, "The worker %d %s", static_cast<int>(process), describe(status).c_str());
    }
    if (child->state != State::kDraining && Steady::now() - child->started < kSoon) {
      const auto pause = std::chrono::milliseconds(10) * (1 << std::min(failures_++, 10));
      not_before_ = Steady::now() + std::min<Steady::duration>(pause, kLongestPause);
    }
    // A successor takes the place of one that did not wait for it.
    for (Child& other : children_) {
      if (other.replaces == process) other.replaces = 0;
    }
    children_.remove_if([&](const Child& other) { return other.process == process; });
  }
}

// What keeps the first workers from their work will not go away: a wrong key, for instance.
void Supervisor::check_start() {
  if (served_ || failures_ < kMaxFailures) return;
  end_workers();
  throw std::runtime_error("No worker can do its work; the system log says why.");
}

// Under load, worn workers follow each other faster than idle connections end.
void Supervisor::hurry_oldest() {
  const auto draining = [](const Child& child) { return child.state == State::kDraining; };
  auto excess = std::count_if(children_.begin(), children_.end(), draining) - kMaxDraining;
  for (Child& child : children_) {
    if (!draining(child) || excess-- <= 0) continue;
    (void)send(child.channel.get(), &message::kHurry, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
  }
}

int Supervisor::timeout() const {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(not_before_ - Steady::now()).count();
  return left > 0 ? static_cast<int>(left) : -1;
}

// "http://127.0.0.1:5050".
std::string Supervisor::address_for_people() const {
  const Listener& listener = listeners_.front();
  const std::vector<std::string>& names = options_.reached.names;
  const bool any = listener.host == "0.0.0.0" || listener.host == "[::]";
  const std::string own_name = names.empty() ? "localhost" : names.front();
  return std::string(options_.encryption ? "https" : "http") + "://" +
         (any ? own_name : listener.host) + ":" + std::to_string(listener.port);
}

void Supervisor::announce() const {
  const char* scheme = options_.encryption ? "https" : "http";
  for (const Listener& listener : listeners_) {
    syslog(LOG_NOTICE, "Listening on %s://%s:%d/", scheme, listener.host.c_str(), listener.port);
    (void)printf("Listening on %s://%s:%d/\n", scheme, listener.host.c_str(), listener.port);
  }
  if (options_.print_link) {
    try {
      (void)printf("Sign in, once and within ten minutes: %s\n",
                   make_sign_in_link(address_for_people()).c_str());
    } catch (const std::exception& error) {
      syslog(LOG_ERR, "No link for signing in can be made: %s", error.what());
    }
  }
  (void)fflush(stdout);
}

void Supervisor::end_workers() {
  listeners_.clear();
  for (const Child& child : children_) {
    (void)kill(child.process, SIGTERM);
  }
  const auto deadline = Steady::now() + kLongestEnd;
  while (!children_.empty() && Steady::now() < deadline) {
    pollfd event = {signals_.get(), POLLIN, 0};
    (void)poll(&event, 1, 100);
    signalfd_siginfo signal = {};
    (void)!read(signals_.get(), &signal, sizeof signal);
    reap();
  }
  for (const Child& child : children_) {
    syslog(LOG_WARNING, "The worker %d does not end and is killed",
           static_cast<int>(child.process));
    (void)kill(child.process, SIGKILL);
    (void)waitpid(child.process, nullptr, 0);
  }
}

Supervisor::Child* Supervisor::find(pid_t process) {
  const auto found = std::find_if(children_.begin(), children_.end(),
                                  [&](const Child& child) { return child.process == process; });
  return found == children_.end() || process == 0 ? nullptr : &*found;
}

std::string make_sign_in_link(const std::string& address) {
  std::array<int, 2> ends = {};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe2");
  }
  const Descriptor reading(ends[0]);
  Descriptor writing(ends[1]);
  const pid_t process = fork();
  if (process == 0) {
    try {
      const std::string link = SessionStore::make_link(own_name());
      _exit(write(writing.get(), link.data(), link.size()) > 0 ? 0 : 1);
    } catch (const std::exception& error) {
      syslog(LOG_ERR, "%s", error.what());
      _exit(1);
    }
  }
  writing = Descriptor();
  std::array<char, 128> link = {};
  const ssize_t size = read(reading.get(), link.data(), link.size());
  int status = 0;
  if (process < 0 || waitpid(process, &status, 0) != process || status != 0 || size <= 0) {
    throw std::runtime_error("the store cannot be used.");
  }
  return address + "/#sign-in=" + std::string(link.data(), static_cast<std::size_t>(size));
}

}  // namespace kavo
