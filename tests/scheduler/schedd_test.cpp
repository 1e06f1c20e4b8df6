// kavo-schedd as a program.

#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "kill_rounds.h"
#include "scheduler_fixture.h"
#include "scheduler_process.h"
#include "store/run_start.h"
#include "store/state.h"

namespace {

using testing::HasSubstr;

class ScheddTest : public SchedulerTest {
 protected:
  std::string text_of(const std::string& name) const {
    std::ifstream stream(file(name));
    return {std::istreambuf_iterator<char>(stream), {}};
  }
};

TEST_F(ScheddTest, ASecondOneOnTheStoreRefuses) {
  const SchedulerProcess first(KAVO_SCHEDD, file("first"));
  const std::string second = std::string(KAVO_SCHEDD) + " 2>" + file("second");
  int status = std::system(second.c_str());
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_THAT(text_of("second"), HasSubstr("Another scheduler works on the store"));
  status = std::system((std::string(KAVO_SCHEDD) + " --frobnicate 2>/dev/null").c_str());
  EXPECT_EQ(WEXITSTATUS(status), 2);
  EXPECT_TRUE(SchedulerProcess::listens());  // the first one is unharmed
}

TEST_F(ScheddTest, TermLeavesARunningTaskAloneAndTheNextOneFindsIt) {
  const int id = store_task(wait_for_file(file("gate")) + "; echo done");
  const int other = store_task("echo $PPID; kill -9 $PPID; " + wait_for_file(file("gate")));
  std::int64_t run = 0;
  {
    SchedulerProcess scheduler(KAVO_SCHEDD, file("log"));
    run = kavo::start_run(id);
    ASSERT_TRUE(eventually([&] { return kavo::load_run(run).started.has_value(); }));
    EXPECT_EQ(scheduler.end(SIGTERM), 0);
    EXPECT_THAT(text_of("log"), HasSubstr("tasks that run go on"));
  }
  EXPECT_FALSE(SchedulerProcess::listens());
  EXPECT_TRUE(kavo::RunLock::is_held(run));
  SchedulerProcess scheduler(KAVO_SCHEDD);
  EXPECT_THROW(kavo::start_run(id), kavo::StoreFailure);  // it is known to go on
  // Another scheduler's run is watched like an own one: it is stopped, and its end is noticed.
  const pid_t runner = kavo::load_run(run).runner;
  ASSERT_TRUE(eventually([&] { return kavo::load_run(kavo::start_run(other)).id > 0; }));
  kill(runner, SIGKILL);
  EXPECT_EQ(finished(run).result, "interrupted");
  root_.write("gate", "");
}

TEST_F(ScheddTest, AnotherAccountOfTheGroupUsesTheStoreAndHasRunsOfItsOwnerStopped) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can take on another account";
  constexpr uid_t kOther = 65534;
  const std::filesystem::path store = root_.path() / "var/lib/kavo";
  std::filesystem::create_directories(store);
  ASSERT_EQ(chown(store.c_str(), 0, kOther), 0);
  ASSERT_EQ(chmod(store.c_str(), 02770), 0);
  ASSERT_EQ(chmod(root_.path().c_str(), 0755), 0);
  const mode_t usual = umask(0077);
  const SchedulerProcess scheduler(KAVO_SCHEDD);
  umask(usual);
  const int id = store_task("echo $$; exec sleep 1000");

  std::int64_t run = 0;
  const pid_t other = fork();
  if (other == 0) {
    const auto is_running = [&] { return kavo::load_run(run).started.has_value(); };
    const bool done = setgroups(0, nullptr) == 0 && setgid(kOther) == 0 && setuid(kOther) == 0 &&
                      (run = kavo::start_run(id)) == 1 && eventually(is_running);
    if (done) kavo::stop_run(run);
    _exit(done ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(other, &status, 0), other);
  ASSERT_EQ(status, 0);
  EXPECT_EQ(finished(1).result, "stopped");
  for (const auto& entry : std::filesystem::directory_iterator(store)) {
    struct stat file = {};
    ASSERT_EQ(lstat(entry.path().c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & ALLPERMS, 0660U) << entry.path();
    EXPECT_EQ(file.st_gid, kOther) << entry.path();
  }
}

TEST_F(ScheddTest, WakesForASaveAndForWhatIsDue) {
  const SchedulerProcess scheduler(KAVO_SCHEDD);
  // Its first pass works all next runs out anew, and would take back the one that is made up here.
  ASSERT_TRUE(eventually([] { return !kavo::known_zones().empty(); }));
  const int id = store_task("true");
  kavo::connection().exec("UPDATE tasks SET next_run = " + std::to_string(kavo::Clock::now() + 1) +
                          " WHERE id = 1");
  kavo::wake_scheduler();  // tells it of the new moment, for which it then wakes up by itself
  ASSERT_TRUE(eventually([&] { return !kavo::latest_runs(id, 1).empty(); }));
  const kavo::Run run = finished(kavo::latest_runs(id, 1).at(0).id);
  EXPECT_EQ(run.result, "ok");
  EXPECT_GE(*run.started, *run.due);
}

TEST_F(ScheddTest, WhatWasAskedForBeforeTermIsStarted) {
  SchedulerProcess scheduler(KAVO_SCHEDD);
  // Its first pass ends with this, and it writes no more.
  ASSERT_TRUE(eventually([] { return kavo::last_trim().moment != 0; }));
  const int id = store_task("echo done");
  kill(scheduler.process(), SIGSTOP);
  const std::int64_t run = kavo::start_run(id);
  kill(scheduler.process(), SIGTERM);
  kill(scheduler.process(), SIGCONT);
  EXPECT_EQ(scheduler.end(SIGTERM), 0);
  EXPECT_EQ(finished(run).result, "ok");
}

TEST_F(ScheddTest, AValueThatIsNotTakenIsToldOnce) {
  root_.write("etc/kavo/kavo.conf", "maxParallelRuns=\"many\"\nhistoryRuns=\"0\"\n");
  {
    const SchedulerProcess scheduler(KAVO_SCHEDD, file("log"));
    for (int i = 0; i < 3; ++i) {
      finished(kavo::start_run(store_task("true")));
    }
  }
  const std::string log = text_of("log");
  const std::string line = "maxParallelRuns=\"many\" in the configuration is no number from 1 to";
  EXPECT_THAT(log, HasSubstr(line));
  EXPECT_EQ(log.find(line), log.rfind(line));
  EXPECT_THAT(log, HasSubstr("historyRuns=\"0\" in the configuration"));
}

TEST_F(ScheddTest, KilledAtAnyMomentItLosesNothingAndRunsNothingTwice) {
  for (int i = 0; i < 20; ++i) {
    store_task("echo $KAVO_RUN_ID >>" + file("ids"), "{}",
               [](kavo::TaskRecord& task) { task.set(&kavo::Task::can_run_task_same_time, true); });
  }
  KillRoundsDriver driver(KAVO_SCHEDD, file("ids"), std::chrono::milliseconds(60));
  const KillRounds result = driver.run(20, 7);
  EXPECT_GE(result.claimed, 20);
  EXPECT_EQ(result.accounted, result.claimed);
  EXPECT_EQ(result.claimed, result.due);
  EXPECT_EQ(result.lost, 0);
  EXPECT_EQ(result.doubled, 0);
}

}  // namespace
