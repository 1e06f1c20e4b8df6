#include "scheduler/scheduler.h"

#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <map>
#include <system_error>
#include <utility>
#include <vector>

#include "base/clock.h"
#include "base/process_descriptor.h"
#include "store/due_times.h"
#include "store/failure.h"
#include "store/run_claim.h"
#include "store/settings.h"

namespace kavo {
namespace {

constexpr int kClaimedAtOnce = 100;
constexpr int kRenewedAtOnce = 500;
constexpr int kTrimmedAtOnce = 500;
constexpr std::int64_t kDay = 86400;

// Whether a runner may be startable a little later.
bool is_shortage(const std::error_code& error) {
  return error.value() == EAGAIN || error.value() == ENOMEM || error.value() == EMFILE ||
         error.value() == ENFILE;
}

// Whether a run may go on beside those that are about to be started.
bool fits_beside(const std::vector<WaitingRun>& chosen, const WaitingRun& run) {
  return run.app.empty() || std::none_of(chosen.begin(), chosen.end(), [&](const WaitingRun& one) {
           return one.app == run.app && (one.app_alone || run.app_alone);
         });
}

}  // namespace

Scheduler::Scheduler(RunStarter& starter, std::string zones)
    : starter_(starter), zones_(std::move(zones)) {}

void Scheduler::pass() {
  retry_ = false;
  look_back();
  const std::int64_t now = Clock::now();
  look_at_clock(now);
  renew_next_runs(now);
  adopt_started_runs();
  bool claimed = true;
  while (claimed) {
    settle_ended_runs();
    claimed = claim_due(now, kClaimedAtOnce) > 0;
    start_waiting_runs();
  }
  trim_history(now);

  const std::int64_t next_trim = last_trim_.moment + kDay;
  next_pass_ = std::min(earliest_due().value_or(next_trim), next_trim);
  if (retry_) {
    next_pass_ = now + 1;
  }
}

void Scheduler::clock_passed(std::int64_t moment) {
  latest_ = std::max(latest_, moment);
}

void Scheduler::set_zones(std::string zones) {
  zones_ = std::move(zones);
  renew_ = true;
}

// What the scheduler before this one has left.
void Scheduler::look_back() {
  if (looked_back_) {
    return;
  }
  latest_ = std::max(latest_, latest_time());
  last_trim_ = last_trim();
  renew_ = renew_ || known_zones() != zones_;
  looked_back_ = true;
}

void Scheduler::look_at_clock(std::int64_t now) {
  if (now < latest_ - kClockCorrection) {
    syslog(LOG_NOTICE, "The clock was set back by %lld seconds: next runs are worked out anew",
           static_cast<long long>(latest_ - now));
    renew_ = true;
    latest_ = now;
    if (last_trim_.moment > now) {
      last_trim_ = {now, false};
    }
  }
  latest_ = std::max(latest_, now);
}

void Scheduler::renew_next_runs(std::int64_t now) {
  if (!renew_) {
    return;
  }
  std::optional<int> last = 0;
  while (last) {
    last = kavo::renew_next_runs(now, *last, kRenewedAtOnce);
  }
  // Written last: whoever is killed before leaves it to be done again.
  save_known_zones(zones_);
  save_latest_time(latest_);
  renew_ = false;
}

void Scheduler::adopt_started_runs() {
  if (!adopt_) {
    return;
  }
  adopt_ = false;
  for (const Run& run : started_runs()) {
    if (running_.contains(run.id) || unsettled_.contains(run.id)) {
      continue;
    }
    // The process is held first and the lock looked at then, see RunLock.
    Descriptor runner = hold_process(run.runner);
    if (RunLock::is_held(run.id)) {
      watch({run.id, run.app, run.app_alone, std::move(runner)});
    } else {
      unsettled_.insert(run.id);
    }
  }
}

void Scheduler::settle_ended_runs() {
  std::vector<RunningRun> reported;
  std::map<std::int64_t, RunEnd> ends;
  for (RunningRun& run : running_.take_readable()) {
    if (auto end = receive_report(run.runner)) {
      ends.emplace(run.id, std::move(*end));
      reported.push_back(std::move(run));
    } else {
      unsettled_.insert(run.id);
    }
  }
  record(reported, ends);
  while (!unsettled_.empty()) {
    settle_run(*unsettled_.begin());
    unsettled_.erase(unsettled_.begin());
  }
}

// The ends that runners have reported, in one transaction.
void Scheduler::record(std::vector<RunningRun>& reported,
                       const std::map<std::int64_t, RunEnd>& ends) {
  if (reported.empty()) {
    return;
  }
  try {
    end_runs(ends);
  } catch (const StoreFailure&) {
    for (RunningRun& run : reported) {
      leave_alone(run.runner);
      watch(std::move(run));
    }
    throw;
  }
  for (const RunningRun& run : reported) {
    acknowledge(run.runner);
  }
}

void Scheduler::start_waiting_runs() {
  const auto limit = static_cast<std::size_t>(setting("maxParallelRuns", 64, 1, 1000));
  std::vector<WaitingRun> chosen;
  std::set<std::string> closed_apps;  // a run of theirs has to wait, and the later ones behind it
  for_each_waiting([&](const WaitingRun& run) {
    if (running_.size() + chosen.size() >= limit) {
      return false;
    }
    if (running_.contains(run.id)) {
      return true;  // its runner has not marked it yet
    }
    if (!closed_apps.contains(run.app) && running_.lets_start(run.app, run.app_alone) &&
        fits_beside(chosen, run)) {
      chosen.push_back(run);
    } else {
      closed_apps.insert(run.app);
    }
    return true;
  });
  start(chosen);
}

// Runners are started first and get their runs when these are marked, all in one transaction. When
// this process is killed before, or the store fails, they see to that themselves.
void Scheduler::start(const std::vector<WaitingRun>& chosen) {
  std::vector<RunStart> starts;
  std::map<std::int64_t, Run> marked;
  std::exception_ptr failure;
  try {
    for (const WaitingRun& run : chosen) {
      if (const pid_t runner = start_runner(run); runner != 0) {
        starts.push_back({run.id, runner});
      }
    }
    marked = mark_started(starts);
  } catch (...) {
    failure = std::current_exception();
  }
  for (const RunStart& start : starts) {
    const Line& line = running_.runner(start.id);
    const auto run = marked.find(start.id);
    run == marked.end() ? leave_alone(line) : hand_over(line, run->second);
  }
  if (failure) {
    std::rethrow_exception(failure);
  }
}

// The process of the runner, which waits for its run; 0 when there is none.
pid_t Scheduler::start_runner(const WaitingRun& run) {
  RunLock lock;
  if (!lock.take(run.id)) {
    // A runner that was started before this scheduler has it, and is about to mark it.
    adopt_ = retry_ = true;
    return 0;
  }
  try {
    Runner runner = starter_.start(run.id, lock);
    return watch({run.id, run.app, run.app_alone, std::move(runner.line)}) ? runner.process : 0;
  } catch (const std::system_error& error) {
    not_started(run.id, error);
    return 0;
  }
}

void Scheduler::not_started(std::int64_t run_id, const std::system_error& error) {
  const std::string why = std::string("The runner cannot be started: ") + error.what();
  syslog(LOG_ERR, "Run %lld: %s", static_cast<long long>(run_id), why.c_str());
  if (is_shortage(error.code())) {
    retry_ = true;
  } else {
    end_run(run_id, {result::kRefused, {}, why, ""});
  }
}

// Counts a run as running until its runner has ended. One that cannot be watched for now is adopted
// later.
bool Scheduler::watch(RunningRun run) {
  const std::int64_t id = run.id;
  try {
    running_.add(std::move(run));
    return true;
  } catch (const std::system_error& error) {
    syslog(LOG_WARNING, "Run %lld cannot be watched: %s", static_cast<long long>(id), error.what());
    adopt_ = retry_ = true;
    return false;
  }
}

// Once a day. A clock that was set far forward by mistake makes every run look old: when more than
// a day was leapt over, be it that way or because the appliance was off, the history is left alone
// until the next time.
void Scheduler::trim_history(std::int64_t now) {
  const std::int64_t passed = now - last_trim_.moment;
  if (passed < kDay) {
    return;
  }
  const bool postpone = passed >= 2 * kDay && !last_trim_.postponed;
  if (!postpone && trim_old_runs(now, kTrimmedAtOnce) == kTrimmedAtOnce) {
    retry_ = true;
    return;
  }
  last_trim_ = {now, postpone && last_trim_.moment != 0};
  save_last_trim(last_trim_);
}

}  // namespace kavo
