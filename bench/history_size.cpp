// What a history of 1,000,000 runs costs beside one of 1,000: a look at the latest runs and at
// those of a task, the first pass of a scheduler, the end of a run, which trims its task's history,
// and trimming by age. Every task has as many runs as are kept. Prints medians and ratios.
//
//   history_size FOLDER        a folder for the stores, which is emptied first

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "base/clock.h"
#include "median.h"
#include "scheduler/scheduler.h"
#include "store/database.h"
#include "store/run_claim.h"
#include "store/run_store.h"
#include "store/task_store.h"

namespace {

constexpr std::int64_t kNoon = 1793880000;  // 2026-11-05 12:00 UTC
constexpr int kRunsOfTask = 100;
constexpr int kRounds = 101;

struct StartsNothing : kavo::RunStarter {
  kavo::Runner start(std::int64_t, const kavo::RunLock&) override { return {}; }
};

// Runs of `tasks` tasks in turn, one a second until noon, each with a line of output.
void fill(int tasks) {
  std::vector<kavo::TaskRecord> records(static_cast<std::size_t>(tasks));
  kavo::insert_tasks(records);
  const std::string runs = std::to_string(tasks * kRunsOfTask);
  kavo::in_transaction([&](SQLite::Database& database) {
    database.exec(
        "WITH RECURSIVE n(i) AS (VALUES (0) UNION ALL SELECT i + 1 FROM n WHERE i < " + runs +
        " - 1) INSERT INTO runs (task_id, task_name, owner, command, app, app_alone, time_limit, "
        "cause, due, queued, started, runner, ended, result, code) SELECT i % " +
        std::to_string(tasks) +
        " + 1, 'a task', 'root', 'true', '', 0, 0, 'schedule', t, t, t, "
        "1, t, 'ok', 0 FROM (SELECT i, " +
        std::to_string(kNoon) + " - " + runs + " + i AS t FROM n)");
    return database.exec(
        "INSERT INTO run_output SELECT id, 0, CAST('a line of output' AS BLOB) FROM runs");
  });
}

struct Times {
  double page, runs_of_task, first_pass, end, trim;
};

Times measure(const std::string& folder, int tasks) {
  setenv("KAVO_ROOT", (folder + "/" + std::to_string(tasks)).c_str(), 1);
  const kavo::Clock::Stopped clock(kNoon);
  fill(tasks);
  StartsNothing starter;
  Times times{};
  times.first_pass = median_of(11, [&] { kavo::Scheduler(starter, "zones").pass(); });
  times.page = median_of(kRounds, [] { kavo::latest_runs({}, 50); });
  int task = 0;
  times.runs_of_task = median_of(kRounds, [&] {
    task = task % tasks + 1;
    kavo::latest_runs(task, kRunsOfTask);
  });
  std::int64_t run = 0;
  times.end = median_of(
      kRounds,
      [&] {
        kavo::end_run(run, {kavo::result::kOk, 0, "", "output"});
      },
      [&] {
        task = task % tasks + 1;
        run = kavo::claim_by_hand(task);
        kavo::mark_started(run, getpid());
      });
  times.trim = median_of(kRounds, [] { kavo::trim_old_runs(kNoon, 500); });
  return times;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "history_size FOLDER\n");
    return 2;
  }
  std::filesystem::remove_all(argv[1]);
  const Times few = measure(argv[1], 1000 / kRunsOfTask);
  const Times many = measure(argv[1], 1000000 / kRunsOfTask);
  const auto print = [](const char* name, double a, double b) {
    printf("%-28s %9.3f ms with 1,000 runs, %9.3f ms with 1,000,000: ratio %.2f\n", name, a, b,
           b / a);
  };
  print("the latest 50 runs", few.page, many.page);
  print("the 100 runs of a task", few.runs_of_task, many.runs_of_task);
  print("first pass of a scheduler", few.first_pass, many.first_pass);
  print("end of a run", few.end, many.end);
  print("trimming by age", few.trim, many.trim);
  return 0;
}
