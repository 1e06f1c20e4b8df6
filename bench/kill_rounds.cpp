// Kills the scheduler at random moments while tasks that append their run ids to a file fall due,
// and accounts for every run. Exit code: 0 when none was lost and none ran twice, 1 otherwise.

#include <pwd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "scheduler/kill_rounds.h"
#include "store/task_store.h"
#include "temporary_folder.h"

namespace {

struct Settings {
  int rounds = 300;
  int tasks = 50;
  int longest = 100;
  unsigned int seed = 1;
};

void set_up(const TemporaryRoot& root, const Settings& settings) {
  root.write("etc/kavo/kavo.conf", "historyRuns=\"1000000\"\n");
  const std::filesystem::path folder = root.path() / "usr/kavo/lib";
  std::filesystem::create_directories(folder);
  std::filesystem::create_symlink(KAVO_RUNNER, folder / "kavo-runner");
  for (int i = 0; i < settings.tasks; ++i) {
    kavo::TaskRecord task;
    task.set(&kavo::Task::owner, getpwuid(geteuid())->pw_name);
    task.set(&kavo::Task::command, "echo $KAVO_RUN_ID >>" + (root.path() / "ids").string());
    task.set(&kavo::Task::can_run_task_same_time, true);
    kavo::save_task(task);
  }
}

int run(const Settings& settings) {
  const TemporaryRoot root;
  set_up(root, settings);
  KillRoundsDriver driver(KAVO_SCHEDD, (root.path() / "ids").string(),
                          std::chrono::milliseconds(settings.longest));
  const KillRounds result = driver.run(settings.rounds, settings.seed);
  printf("rounds %d\ndue %d\nclaimed %d\naccounted %d\nlost %d\ndoubled %d\n", result.rounds,
         result.due, result.claimed, result.accounted, result.lost, result.doubled);
  return result.lost == 0 && result.doubled == 0 && result.accounted == result.due ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Settings settings;
  CLI::App app("Kills the scheduler at random moments and accounts for every run", "kill_rounds");
  app.add_option("--rounds", settings.rounds, "How often it is killed")->capture_default_str();
  app.add_option("--tasks", settings.tasks, "Tasks that fall due together")->capture_default_str();
  app.add_option("--longest", settings.longest, "Milliseconds it lives at most")
      ->capture_default_str();
  app.add_option("--seed", settings.seed, "Of the random moments")->capture_default_str();
  CLI11_PARSE(app, argc, argv);
  return run(settings);
}
