// The history of runs. All functions work on the calling thread's connection and throw
// StoreFailure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kavo {

// Why a task was run, and how a run ended, as they stand in the store.
namespace cause {
inline constexpr char kManual[] = "manual";
}  // namespace cause

namespace result {
inline constexpr char kOk[] = "ok";                    // exit code 0
inline constexpr char kExitCode[] = "exit code";       // another exit code
inline constexpr char kSignal[] = "signal";            // ended by a signal
inline constexpr char kInterrupted[] = "interrupted";  // its runner is gone without a word
inline constexpr char kRefused[] = "refused";          // not started; the note says why
}  // namespace result

struct Run {
  std::int64_t id = 0;
  int task_id = 0;
  std::string task_name;  // name, owner and command as they were when the run was recorded
  std::string owner;
  std::string command;
  std::string cause;
  std::optional<std::int64_t> due;  // times in UTC seconds; none for a run by hand
  std::int64_t started = 0;
  std::optional<std::int64_t> ended;  // none while it runs
  std::string result;                 // empty while it runs
  std::optional<int> code;            // exit code or signal number
  std::string note;                   // for people: why it was refused
};

// How a run ended.
struct RunEnd {
  std::string result;
  std::optional<int> code;
  std::string note;
  std::string output;
};

class RunLock;

// Records that a stored task is run by hand now, and takes the run's lock. Refused (kRunning) when
// the task is running and its runs may not overlap. Runs that never ended and are not locked any
// more are marked as interrupted on the way.
Run claim_run(int task_id, RunLock& lock);

// Records the end of a run, now. Nothing happens when the run has ended already.
void end_run(std::int64_t id, const RunEnd& end);

Run load_run(std::int64_t id);
// What the run wrote, standard output and standard error in one, as bytes.
std::string run_output(std::int64_t id);
// The latest runs, newest first; of one task, or of all.
std::vector<Run> latest_runs(std::optional<int> task_id, int limit);

}  // namespace kavo
