// The process that keeps workers at work.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <list>
#include <vector>

#include "base/descriptor.h"
#include "web/limits.h"
#include "web/listen.h"
#include "web/options.h"

namespace kavo {

// Forks the workers, and puts others in the place of those that die or are worn. It uses neither
// the store nor a module itself, so that each worker starts from a clean process. For a process
// with one thread.
class Supervisor {
 public:
  // Opens the sockets. Throws std::runtime_error, for people.
  Supervisor(const Options& options, const Limits& limits);

  // Works until TERM or INT, then ends the workers. In a worker, returns its exit code.
  int run();

 private:
  using Steady = std::chrono::steady_clock;
  enum class State { kStarting, kServing, kWorn, kDraining };

  struct Child {
    pid_t process = 0;
    Descriptor channel;
    State state = State::kStarting;
    Steady::time_point started = Steady::now();
    pid_t replaces = 0;  // the worn worker that drains when this one serves
  };

  bool fill_up();
  bool fork_worker(pid_t replaces);
  int be_worker(Descriptor channel);
  void listen_to(Child& child);
  void reap();
  void check_start();
  void hurry_oldest();
  int timeout() const;
  void announce() const;
  std::string address_for_people() const;
  void end_workers();
  Child* find(pid_t process);

  const Options options_;
  const Limits limits_;
  std::vector<Listener> listeners_;
  Descriptor signals_;
  std::list<Child> children_;
  bool served_ = false;            // any of them
  int failures_ = 0;               // workers in a row that died soon after their start
  Steady::time_point not_before_;  // when the next one may be started
  Descriptor worker_channel_;      // in a worker
};

// A link that signs in once as this process's user at an address ("http://127.0.0.1:5050"), made by
// a process of its own. Throws std::runtime_error.
std::string make_sign_in_link(const std::string& address);

}  // namespace kavo
