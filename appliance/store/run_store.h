// The history of runs, and what a runner writes to it. All functions work on the calling thread's
// connection and throw StoreFailure.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kavo {

// Why a task was run, and how a run ended, as they stand in the store.
namespace cause {
inline constexpr char kSchedule[] = "schedule";
inline constexpr char kManual[] = "manual";
inline constexpr char kCatchUp[] = "catch-up";  // stands for the runs that were missed before
}  // namespace cause

namespace result {
inline constexpr char kOk[] = "ok";                    // exit code 0
inline constexpr char kExitCode[] = "exit code";       // another exit code
inline constexpr char kSignal[] = "signal";            // ended by a signal
inline constexpr char kStopped[] = "stopped";          // by a user, started or not
inline constexpr char kTimeLimit[] = "time limit";     // stopped when its time was over
inline constexpr char kInterrupted[] = "interrupted";  // its runner is gone without a word
inline constexpr char kMissed[] = "missed";            // noticed too late
inline constexpr char kSkipped[] = "skipped";          // the task was still running
inline constexpr char kRefused[] = "refused";          // not started; the note says why
}  // namespace result

// A run. It waits in line (neither started nor ended), then goes on (started), then has ended; one
// that was missed, skipped or stopped in time ends without having been started.
struct Run {
  std::int64_t id = 0;
  int task_id = 0;
  std::string task_name;  // name, owner, command and app as they were when the run was claimed
  std::string owner;
  std::string command;
  std::string app;
  bool app_alone = false;  // no other run of its app may go on beside it
  int time_limit = 0;      // seconds after which it is stopped; 0 for none
  std::string cause;
  std::optional<std::int64_t> due;  // times in UTC seconds; none for a run by hand
  std::int64_t queued = 0;          // its place in the line: due, or when it was asked for
  std::optional<std::int64_t> started;
  pid_t runner = 0;  // once started
  std::optional<std::int64_t> ended;
  std::string result;       // empty until it has ended
  std::optional<int> code;  // exit code or signal number
  std::string note;         // for people: why it was refused
};

// How a run ended.
struct RunEnd {
  std::string result;
  std::optional<int> code;
  std::string note;
  std::string output;               // what was not saved while it went on,
  std::size_t output_position = 0;  // and the number of bytes that were
};

// Marks runs as started, each by the process that is its runner; in one transaction. Returns those
// that are its runner's now: not one that was stopped or taken back, or that another runner has.
struct RunStart {
  std::int64_t id = 0;
  pid_t runner = 0;
};
std::map<std::int64_t, Run> mark_started(const std::vector<RunStart>& starts);
std::optional<Run> mark_started(std::int64_t id, pid_t runner);

// Saves output of a run that goes on, from its `position`-th byte on. False, at once, when the
// store is busy. What the system has not yet written is lost with its power.
bool append_output(std::int64_t id, std::size_t position, std::string_view bytes);

// Records the end of a run, now, and trims the history of its task. Nothing happens when the run
// has ended already.
void end_run(std::int64_t id, const RunEnd& end);
// The same for many runs, in one transaction.
void end_runs(const std::map<std::int64_t, RunEnd>& ends);

Run load_run(std::int64_t id);
// What the run wrote so far, standard output and standard error in one, as bytes; from its
// `position`-th byte on.
std::string run_output(std::int64_t id, std::size_t position = 0);
// The latest runs, newest first; of one task, or of all.
std::vector<Run> latest_runs(std::optional<int> task_id, int limit);

// Deletes up to `limit` runs that ended before the moment that "historyDays" of the configuration
// gives (default 180, 1 to 36500). The number of those deleted.
int trim_old_runs(std::int64_t now, int limit);

}  // namespace kavo
