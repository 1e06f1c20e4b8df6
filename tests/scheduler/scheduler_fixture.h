// Tasks and their runs, for real.
#pragma once

#include <pwd.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "store/run_lock.h"
#include "store/run_store.h"
#include "store/store_fixture.h"
#include "store/task_store.h"

class SchedulerTest : public StoreTest {
 protected:
  SchedulerTest() {
    const std::filesystem::path folder = root_.path() / "usr/kavo/lib";
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink(KAVO_RUNNER, folder / "kavo-runner");
  }

  // A task of this user's, and the id it is stored under; `change` sets more of it.
  static int store_task(const std::string& command, const std::string& schedule = "{}",
                        const std::function<void(kavo::TaskRecord&)>& change = {}) {
    kavo::TaskRecord task;
    task.set(&kavo::Task::name, "a task");
    task.set(&kavo::Task::owner, owner());
    task.set(&kavo::Task::command, command);
    task.set(&kavo::Task::schedule, schedule);
    if (change) change(task);
    kavo::save_task(task);
    return task.task().id;
  }

  static std::string owner() { return getpwuid(geteuid())->pw_name; }

  // Waits for something that other processes bring about.
  static bool eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 4000; ++i) {
      if (condition()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
  }

  // The run once it has ended and its runner is gone.
  static kavo::Run finished(std::int64_t id) {
    EXPECT_TRUE(eventually([&] {
      return kavo::load_run(id).ended.has_value() && !kavo::RunLock::is_held(id);
    })) << "run "
        << id;
    return kavo::load_run(id);
  }

  std::string file(const std::string& name) const { return (root_.path() / name).string(); }
  bool exists(const std::string& name) const { return std::filesystem::exists(file(name)); }
};
