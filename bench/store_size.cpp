// What 100,000 stored tasks cost beside 100: the scheduler's first pass, a pass with nothing to do,
// the claim of a due task, and a save. Prints the median of each and the ratio.
//
//   store_size FOLDER          a folder for the stores, which is emptied first

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "base/clock.h"
#include "median.h"
#include "scheduler/run_starter.h"
#include "scheduler/scheduler.h"
#include "store/database.h"
#include "store/run_claim.h"
#include "store/task_store.h"

namespace {

constexpr std::int64_t kNoon = 1793880000;  // 2026-11-05 12:00 UTC

struct StartsNothing : kavo::RunStarter {
  kavo::Runner start(std::int64_t, const kavo::RunLock&) override { return {}; }
};

kavo::TaskRecord task(int hour) {
  kavo::TaskRecord record;
  record.set(&kavo::Task::name, "a task");
  record.set(&kavo::Task::command, "true");
  record.set(&kavo::Task::can_run_task_same_time, true);
  record.set(&kavo::Task::schedule, "{\"timezone\":\"UTC\",\"hour\":" + std::to_string(hour) + "}");
  return record;
}

struct Times {
  double first_pass, idle_pass, claim, save;
};

Times measure(const std::string& folder, int tasks) {
  setenv("KAVO_ROOT", (folder + "/" + std::to_string(tasks)).c_str(), 1);
  kavo::Clock::Stopped clock(kNoon);
  std::vector<kavo::TaskRecord> records(static_cast<std::size_t>(tasks), task(0));
  kavo::insert_tasks(records, kavo::TakenIds::kRefuse);

  StartsNothing starter;
  Times times{};
  times.first_pass = median_of(11, [&] { kavo::Scheduler(starter, "zones").pass(); });
  kavo::Scheduler scheduler(starter, "zones");
  scheduler.pass();
  times.idle_pass = median_of(101, [&] { scheduler.pass(); });
  kavo::TaskRecord one = task(13);
  times.save = median_of(101, [&] {
    one.set(&kavo::Task::schedule, std::string("{\"timezone\":\"UTC\",\"hour\":13,\"min\":") +
                                       (one.task().schedule.ends_with("1}") ? "2}" : "1}"));
    kavo::save_task(one);
  });
  std::int64_t now = kNoon + 3600;
  times.claim = median_of(
      101, [&] { kavo::claim_due(now, 1); },
      [&] {
        now += 86400;
        kavo::with_store([&](SQLite::Database& database) {
          return database.exec("UPDATE tasks SET next_run = " + std::to_string(now) +
                               " WHERE id = " + std::to_string(one.task().id));
        });
      });
  return times;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "store_size FOLDER\n");
    return 2;
  }
  std::filesystem::remove_all(argv[1]);
  const Times few = measure(argv[1], 100);
  const Times many = measure(argv[1], 100000);
  const auto print = [](const char* name, double a, double b) {
    printf("%-28s %9.3f ms with 100 tasks, %9.3f ms with 100,000: ratio %.2f\n", name, a, b, b / a);
  };
  print("first pass of a scheduler", few.first_pass, many.first_pass);
  print("pass with nothing to do", few.idle_pass, many.idle_pass);
  print("claim of one due task", few.claim, many.claim);
  print("save", few.save, many.save);
  return 0;
}
