// Several processes on one store, some of which die.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <random>

#include "store/database.h"
#include "store_fixture.h"

namespace {

class ProcessTest : public StoreTest {
 protected:
  static pid_t start(const std::function<void()>& work) {
    const pid_t process = fork();
    if (process == 0) {
      work();
      _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    return process;
  }
  static void run_both(const std::function<void()>& one, const std::function<void()>& other) {
    for (const pid_t process : {start(one), start(other)}) {
      int status = -1;
      EXPECT_EQ(waitpid(process, &status, 0), process);
      EXPECT_EQ(status, 0);
    }
  }
};

TEST_F(ProcessTest, ChangesOfDifferentPropertiesOfOneTaskAllStand) {
  constexpr int kRounds = 100;
  const int id = store("shared");
  const auto repeat = [&](int (*set)(_tag_kavo_sched_task_*, const char*)) {
    for (int round = 1; round <= kRounds; ++round) {
      const TaskPtr task = load(id);
      set(task.get(), std::to_string(round).c_str());
      save(task);
    }
  };
  run_both([&] { repeat(KAVOSchedCTaskSetAction); }, [&] { repeat(KAVOSchedCTaskSetAppArgs); });
  EXPECT_EQ(KAVOSchedTaskGetAction(*load(id)), std::to_string(kRounds));
  EXPECT_EQ(KAVOSchedTaskGetAppArgs(*load(id)), std::to_string(kRounds));
}

TEST_F(ProcessTest, TasksCreatedAtOnceGetDifferentIds) {
  const auto create = [] {
    for (int i = 0; i < 50; ++i) store("t");
  };
  store("t");
  run_both(create, create);
  EXPECT_EQ(sorted().size(), (1 + 50 + 50) * 2 - 1);
}

TEST_F(ProcessTest, AProcessKilledWhileSavingLeavesTheOldOrTheNewTask) {
  const int id = store("task");
  std::mt19937 random(7);
  for (int round = 0; round < 40; ++round) {
    // Each save changes two properties together; no other process may ever see them differ.
    const pid_t process = start([&] {
      for (int n = 0;; ++n) {
        const TaskPtr task = load(id);
        const std::string text(1000, static_cast<char>('a' + n % 26));
        KAVOSchedCTaskSetAction(task.get(), text.c_str());
        KAVOSchedCTaskSetAppArgs(task.get(), text.c_str());
        KAVOSchedTaskSave(task.get());
      }
    });
    usleep(static_cast<useconds_t>(std::uniform_int_distribution<>(500, 15000)(random)));
    kill(process, SIGKILL);
    int status = 0;
    waitpid(process, &status, 0);
    const TaskPtr task = load(id);
    ASSERT_EQ(KAVOSchedTaskGetAction(*task), KAVOSchedTaskGetAppArgs(*task));
  }
  EXPECT_EQ(kavo::connection().execAndGet("PRAGMA integrity_check").getString(), "ok");
  EXPECT_FALSE(KAVOSchedTaskGetAction(*load(id)).empty());
}

}  // namespace
