// How late runs start that fall due together: 1,000 tasks in one second, run by the scheduler,
// beside a plain loop that forks and executes the same commands with the same parallelism.
//
//   due_burst INSTALLED_ROOT [TASKS]
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
#include "store/task_store.h"

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
  while (wait(nullptr) > 0) {
  }
}

void store_tasks(const std::string& folder, int tasks, std::int64_t due) {
  for (int number = 0; number < tasks; ++number) {
    kavo::TaskRecord record;
    record.set(&kavo::Task::name, "task " + std::to_string(number));
    record.set(&kavo::Task::command, command_of(folder, number));
    const absl::CivilMinute minute =
        absl::ToCivilMinute(absl::FromUnixSeconds(due), absl::UTCTimeZone());
    record.set(&kavo::Task::schedule,
               "{\"timezone\":\"UTC\",\"hour\":" + std::to_string(minute.hour()) +
                   ",\"min\":" + std::to_string(minute.minute()) + "}");
    kavo::save_task(record);
  }
}

void print(const char* name, const std::vector<double>& late) {
  printf("%-10s %5zu runs, late by ms: median %8.1f  99%% %8.1f  last %8.1f\n", name, late.size(),
         late[late.size() / 2], late[late.size() * 99 / 100], late.back());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "due_burst INSTALLED_ROOT [TASKS]\n");
    return 2;
  }
  const std::string root = fs::absolute(argv[1]).string();
  const int tasks = argc > 2 ? atoi(argv[2]) : 1000;
  setenv("KAVO_ROOT", root.c_str(), 1);
  fs::remove_all(root + "/var/lib/kavo");
  for (const char* folder : {"/floor", "/scheduler"}) {
    fs::remove_all(root + folder);
    fs::create_directory(root + folder);
  }
  const std::int64_t floor_moment = kavo::Clock::now() + 1;
  wait_until(floor_moment);
  plain_loop(root + "/floor", tasks);
  const std::vector<double> floor = lateness(root + "/floor", floor_moment);

  // A whole minute, far enough off to store all tasks before.
  const std::int64_t due = (kavo::Clock::now() / 60 + 1) * 60;
  const std::int64_t far = due - kavo::Clock::now() < 20 ? due + 60 : due;
  store_tasks(root + "/scheduler", tasks, far);
  const pid_t scheduler = start({root + "/usr/kavo/bin/kavo-schedd"});
  wait_until(far);
  std::size_t done = 0;
  for (int i = 0; done < static_cast<std::size_t>(tasks) && i < 1200; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    done = static_cast<std::size_t>(
        std::distance(fs::directory_iterator(root + "/scheduler"), fs::directory_iterator()));
  }
  const std::vector<double> late = lateness(root + "/scheduler", far);
  kill(scheduler, SIGTERM);
  waitpid(scheduler, nullptr, 0);
  if (late.empty()) {
    fprintf(stderr, "No task ran.\n");
    return 1;
  }
  print("plain loop", floor);
  print("scheduler", late);
  printf("ratio: median %.2f, 99%% %.2f\n", late[late.size() / 2] / floor[floor.size() / 2],
         late[late.size() * 99 / 100] / floor[floor.size() * 99 / 100]);
  return late.size() == static_cast<std::size_t>(tasks) ? 0 : 1;
}
