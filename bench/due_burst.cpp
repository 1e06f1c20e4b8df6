// How late runs start that fall due together: 1,000 tasks in one second, run by the scheduler,
// beside a plain loop that forks and executes the same commands with the same parallelism.
//
//   due_burst INSTALLED_ROOT [TASKS [ROUNDS]]
//
// The root is a staged tree (DESTDIR of the installation) with a store of its own in it. Each
// command makes a file, whose time says when it ran.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "base/clock.h"
#include "store/database.h"
#include "store/state.h"
#include "store/task_store.h"
#include "store/wake_up.h"

namespace {

namespace fs = std::filesystem;

constexpr int kParallel = 64;

std::string command_of(const std::string& folder, int number) {
  return ": >" + folder + "/" + std::to_string(number) + "; /bin/true";
}

// Milliseconds between a moment and the files' times, in order.
std::vector<double> lateness(const std::string& folder, std::int64_t moment) {
  std::vector<double> late;
  for (const auto& entry : fs::directory_iterator(folder)) {
    struct stat status = {};
    if (stat(entry.path().c_str(), &status) == 0) {
      late.push_back(static_cast<double>(status.st_mtim.tv_sec - moment) * 1e3 +
                     static_cast<double>(status.st_mtim.tv_nsec) / 1e6);
    }
  }
  std::sort(late.begin(), late.end());
  return late;
}

void wait_until(std::int64_t moment) {
  std::this_thread::sleep_until(
      std::chrono::system_clock::time_point(std::chrono::seconds(moment)));
}

pid_t start(const std::vector<std::string>& words) {
  std::vector<char*> arguments;
  for (const std::string& word : words) {
    arguments.push_back(const_cast<char*>(word.c_str()));
  }
  arguments.push_back(nullptr);
  pid_t process = 0;
  if (posix_spawn(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
    perror(arguments[0]);
    exit(1);
  }
  return process;
}

void plain_loop(const std::string& folder, int tasks) {
  int running = 0;
  for (int number = 0; number < tasks; ++number) {
    if (running == kParallel) {
      wait(nullptr);
      --running;
    }
    start({"/bin/sh", "-c", command_of(folder, number)});
    ++running;
  }
  for (; running > 0; --running) {
    wait(nullptr);
  }
}

void store_tasks(const std::string& folder, int tasks) {
  std::vector<kavo::TaskRecord> records(static_cast<std::size_t>(tasks));
  for (int number = 0; number < tasks; ++number) {
    kavo::TaskRecord& record = records[static_cast<std::size_t>(number)];
    record.set(&kavo::Task::name, "task " + std::to_string(number));
    record.set(&kavo::Task::command, command_of(folder, number));
    // Some other day: the moment that is measured is set in the store.
    record.set(&kavo::Task::schedule,
               std::string(R"({"type":"date","date":"2099-12-31","repeat":"yearly"})"));
  }
  kavo::insert_tasks(records);
}

// The scheduler while it lives, once it has settled.
class RunningScheduler {
 public:
  explicit RunningScheduler(const std::string& root)
      : process_(start({root + "/usr/kavo/bin/kavo-schedd"})) {
    while (kavo::known_zones().empty()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
  RunningScheduler(const RunningScheduler&) = delete;
  RunningScheduler& operator=(const RunningScheduler&) = delete;
  ~RunningScheduler() {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }

 private:
  pid_t process_;
};

void empty(const std::string& folder) {
  fs::remove_all(folder);
  fs::create_directories(folder);
}

std::vector<double> measure_floor(const std::string& folder, int tasks) {
  empty(folder);
  const std::int64_t moment = kavo::Clock::now() + 1;
  wait_until(moment);
  plain_loop(folder, tasks);
  return lateness(folder, moment);
}

// All tasks fall due in the second after the next.
std::vector<double> measure_scheduler(const std::string& folder) {
  empty(folder);
  const std::int64_t due = kavo::Clock::now() + 2;
  kavo::connection().exec("UPDATE tasks SET next_run = " + std::to_string(due));
  kavo::wake_scheduler();
  wait_until(due);
  const auto unfinished = [] {
    return kavo::connection()
        .execAndGet(
            "SELECT (SELECT count(*) FROM runs WHERE ended IS NULL) + "
            "(SELECT count(*) FROM tasks WHERE next_run <= unixepoch())")
        .getInt();
  };
  for (int i = 0; unfinished() > 0 && i < 600; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  return lateness(folder, due);
}

struct Late {
  double median, most, last;  // most: the 99th percentile
};

Late summary(const std::vector<double>& late) {
  return {late[late.size() / 2], late[late.size() * 99 / 100], late.back()};
}

void print(const char* name, const Late& late) {
  printf("%-10s late by ms: median %8.1f  99%% %8.1f  last %8.1f\n", name, late.median, late.most,
         late.last);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "due_burst INSTALLED_ROOT [TASKS [ROUNDS]]\n");
    return 2;
  }
  const std::string root = fs::absolute(argv[1]).string();
  const int tasks = argc > 2 ? atoi(argv[2]) : 1000;
  const int rounds = argc > 3 ? atoi(argv[3]) : 3;
  setenv("KAVO_ROOT", root.c_str(), 1);
  fs::remove_all(root + "/var/lib/kavo");
  store_tasks(root + "/scheduler", tasks);
  const RunningScheduler scheduler(root);
  std::vector<double> medians, most;
  for (int round = 0; round < rounds; ++round) {
    const std::vector<double> floor = measure_floor(root + "/floor", tasks);
    const std::vector<double> late = measure_scheduler(root + "/scheduler");
    if (late.size() != static_cast<std::size_t>(tasks)) {
      fprintf(stderr, "%zu of %d tasks ran.\n", late.size(), tasks);
      return 1;
    }
    print("plain loop", summary(floor));
    print("scheduler", summary(late));
    medians.push_back(summary(late).median / summary(floor).median);
    most.push_back(summary(late).most / summary(floor).most);
    printf("ratio: median %.2f, 99%% %.2f\n", medians.back(), most.back());
  }
  std::sort(medians.begin(), medians.end());
  std::sort(most.begin(), most.end());
  printf("all %d tasks ran in each of %d rounds; middle ratio: median %.2f, 99%% %.2f\n", tasks,
         rounds, medians[medians.size() / 2], most[most.size() / 2]);
  return 0;
}
