// kavo-schedd's life: it sleeps until something happens, and lets the scheduler do what there is.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "base/descriptor.h"
#include "scheduler/scheduler.h"
#include "scheduler/zone_watch.h"

namespace kavo {

// The one scheduler of a store. For a process of its own with one thread.
class Daemon {
 public:
  // Takes the store. Throws std::runtime_error with the reason, for people, when another one has it
  // or it cannot be used.
  explicit Daemon(RunStarter& starter);

  // Works until TERM or INT. Runs that go on then are left alone. While the store is busy or full,
  // it tries again every second.
  void run();

 private:
  using Steady = std::chrono::steady_clock;

  void pass();
  void arm_timer() const;
  bool wait();
  int timeout() const;

  Descriptor lock_;
  Descriptor wake_ups_;
  Descriptor signals_;
  Descriptor timer_;
  ZoneWatch zones_;
  Scheduler scheduler_;
  std::int64_t boot_;  // the moment of the machine's start, as the clock told when it was last read
  std::string failure_;                      // why the last pass failed; empty when it did not
  std::optional<Steady::time_point> again_;  // when a pass is to be tried again
  std::optional<Steady::time_point> zones_settled_;  // when an update of the zones will be over
};

}  // namespace kavo
