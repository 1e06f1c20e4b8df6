// What the scheduler does whenever it wakes up: claim what is due, start what may start, settle
// what has ended. Everything it has to know stands in the store, so that another scheduler can go
// on where this one was killed.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "scheduler/run_starter.h"
#include "scheduler/running_runs.h"
#include "store/run_queue.h"
#include "store/state.h"

namespace kavo {

// A clock that was set back by more than this, in seconds, had been wrong: due times are worked out
// anew. By less, nothing is repeated.
inline constexpr std::int64_t kClockCorrection = std::int64_t{3} * 3600;

// For one thread. Every operation that looks at the store throws StoreFailure when that cannot be
// used for now; nothing is lost then, and pass() goes on where it was.
class Scheduler {
 public:
  // `zones` stands for the state of the time zones; when it is not the one that the stored next
  // runs were worked out with, the first pass works them out anew.
  Scheduler(RunStarter& starter, std::string zones);

  // Does everything there is to do now. To be called at the start, at next_pass(), after a wake-up,
  // and when descriptor() is readable.
  void pass();

  // When pass() has to be called again, in UTC seconds, if nothing else happens; none for never.
  // After pass().
  std::optional<std::int64_t> next_pass() const { return next_pass_; }

  // Readable when a runner has something to tell, or has ended.
  int descriptor() const { return running_.descriptor(); }

  // The clock would have shown this moment now, had it not been set. Before a pass().
  void clock_passed(std::int64_t moment);
  // The time zones were changed. Before a pass().
  void set_zones(std::string zones);

 private:
  void look_back();
  void look_at_clock(std::int64_t now);
  void renew_next_runs(std::int64_t now);
  void adopt_started_runs();
  void settle_ended_runs();
  void record(std::vector<RunningRun>& reported, const std::map<std::int64_t, RunEnd>& ends);
  void start_waiting_runs();
  void start(const std::vector<WaitingRun>& chosen);
  pid_t start_runner(const WaitingRun& run);
  void not_started(std::int64_t run_id, const std::system_error& error);
  bool watch(RunningRun run);
  void trim_history(std::int64_t now);

  RunStarter& starter_;
  RunningRuns running_;
  std::set<std::int64_t> unsettled_;  // runs whose runners have ended
  std::string zones_;
  bool looked_back_ = false;
  bool adopt_ = true;        // there may be runs that a scheduler before this one has started
  bool renew_ = false;       // the next runs are to be worked out anew
  bool retry_ = false;       // something is to be tried again soon
  std::int64_t latest_ = 0;  // the latest moment seen
  Trim last_trim_;
  std::optional<std::int64_t> next_pass_;
};

}  // namespace kavo
