// Runs for real: the scheduler starts the built runner, which runs the command.

#include <signal.h>

#include "scheduler_fixture.h"
#include "scheduler_process.h"
#include "store/run_lock.h"
#include "store/run_start.h"

namespace {

class RunTest : public SchedulerTest {
 protected:
  static int store_as(const std::string& owner, const std::string& command) {
    return store_task(command, "{}",
                      [&](kavo::TaskRecord& task) { task.set(&kavo::Task::owner, owner); });
  }

  static bool has_started(std::int64_t id) {
    return eventually([&] { return kavo::load_run(id).started.has_value(); });
  }

  SchedulerProcess scheduler_{KAVO_SCHEDD};
};

TEST_F(RunTest, EndAndOutputAreRecorded) {
  struct Row {
    const char* command;
    const char* result;
    std::optional<int> code;
    const char* output;
  };
  for (const Row& row : {Row{"echo out; echo err >&2", "ok", 0, "out\nerr\n"},
                         Row{"printf 'a\\000b'; exit 3", "exit code", 3, nullptr},
                         Row{"kill -9 $$", "signal", 9, ""}, Row{"", "ok", 0, ""},
                         Row{"/no/such/program", "exit code", 127, nullptr},
                         Row{"umask; pwd; readlink /proc/self/fd/0", "ok", 0, nullptr}}) {
    SCOPED_TRACE(row.command);
    const int id = store_as(owner(), row.command);
    ASSERT_EQ(KAVOSchedTaskRun(id, 0, 0), 0);
    const kavo::Run run = finished(kavo::latest_runs(id, 1).at(0).id);
    EXPECT_EQ(run.result, row.result);
    EXPECT_EQ(run.code, row.code);
    EXPECT_EQ(run.task_name, "a task");
    EXPECT_EQ(run.cause, "manual");
    EXPECT_LE(*run.started, *run.ended);
    if (row.output != nullptr) {
      EXPECT_EQ(kavo::run_output(run.id), row.output);
    }
  }
  // Output is bytes: zero bytes are kept. The last row shows umask, home and standard input.
  EXPECT_EQ(kavo::run_output(2), std::string("a\0b", 3));
  EXPECT_EQ(kavo::run_output(6),
            "0022\n" + std::string(getpwuid(geteuid())->pw_dir) + "\n/dev/null\n");
}

TEST_F(RunTest, TheCommandGetsAMinimalEnvironment) {
  setenv("LEAKED", "1", 1);
  const int id =
      store_as(owner(), "env | cut -d= -f1 | sort | tr '\\n' ' '; ls /proc/self/fd | wc -l");
  const kavo::Run run = finished(kavo::start_run(id));
  unsetenv("LEAKED");
  EXPECT_EQ(kavo::run_output(run.id),
            "HOME KAVO_ROOT KAVO_RUN_ID KAVO_TASK_ID KAVO_TASK_NAME LANG LOGNAME PATH PWD SHELL "
            "USER 4\n");  // PWD is the shell's own; ls has the folder open as a fourth
}

TEST_F(RunTest, TheOwnersIdentityIsTakenOnWhole) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs root";
  }
  const kavo::Run run = finished(
      kavo::start_run(store_as("nobody", "id -un; id -gn; id -Gn; echo $USER $LOGNAME; pwd")));
  // nobody's home does not exist, so it runs in the root folder.
  EXPECT_EQ(kavo::run_output(run.id), "nobody\nnogroup\nnogroup\nnobody nobody\n/\n");
  EXPECT_EQ(run.owner, "nobody");
}

TEST_F(RunTest, AnOwnerThatDoesNotExistIsARefusedRunThatSaysSo) {
  const kavo::Run run = finished(kavo::start_run(store_as("no-such-account", "true")));
  EXPECT_EQ(run.result, "refused");
  EXPECT_EQ(run.note, "The owner \"no-such-account\" does not exist.");
  EXPECT_EQ(run.code, std::nullopt);
}

TEST_F(RunTest, OutputIsCutAndSaysSo) {
  const kavo::Run run = finished(
      kavo::start_run(store_as(owner(), "head -c 3000000 /dev/zero | tr '\\000' x; exit 5")));
  EXPECT_EQ(run.code, 5);
  const std::string output = kavo::run_output(run.id);
  const std::string notice = "\n[1951424 more bytes were cut]\n";
  EXPECT_EQ(output.size(), (1U << 20) + notice.size());
  EXPECT_THAT(output, testing::EndsWith(notice));
}

TEST_F(RunTest, BackgroundProcessesDoNotHoldTheRun) {
  const std::string file = (root_.path() / "pid").string();
  const kavo::Run run =
      finished(kavo::start_run(store_as(owner(), "sleep 600 & echo $! > " + file + "; echo done")));
  EXPECT_EQ(run.result, "ok");
  EXPECT_EQ(kavo::run_output(run.id), "done\n");
  std::ifstream stream(file);
  pid_t background = 0;
  ASSERT_TRUE(stream >> background);
  EXPECT_EQ(kill(background, SIGKILL), 0);  // it lived on
}

TEST_F(RunTest, ARunningTaskIsNotStartedAgainUnlessItsRunsMayOverlap) {
  const std::string gate = (root_.path() / "gate").string();
  const int id = store_as(owner(), wait_for_file(gate));
  const std::int64_t first = kavo::start_run(id);
  ASSERT_TRUE(has_started(first));
  EXPECT_TRUE(kavo::RunLock::is_held(first));
  EXPECT_LT(KAVOSchedTaskRun(id, 0, 0), 0);
  EXPECT_EQ(last_error(), static_cast<int>(kavo::StoreError::kRunning));
  EXPECT_EQ(kavo::latest_runs(id, 10).size(), 1U);

  const TaskPtr task = load(id);
  KAVOSchedCTaskSetCanRunTaskSameTime(task.get(), 1);
  ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);
  const std::int64_t second = kavo::start_run(id);
  root_.write("gate", "");
  EXPECT_EQ(finished(first).result, "ok");
  EXPECT_EQ(finished(second).result, "ok");
  EXPECT_EQ(kavo::latest_runs({}, 1).at(0).id, second);
}

TEST_F(RunTest, ARunWhoseRunnerDiedIsInterrupted) {
  const int id = store_as(owner(), "echo $PPID; kill -9 $PPID");
  EXPECT_EQ(finished(kavo::start_run(id)).result, "interrupted");
  EXPECT_EQ(finished(kavo::start_run(id)).result, "interrupted");  // it does not block the task
}

TEST_F(RunTest, ARunnerThatIsMissingOrDoesNotStartIsARefusedRun) {
  std::filesystem::remove(root_.path() / "usr/kavo/lib/kavo-runner");
  const int id = store_as(owner(), "true");
  const kavo::Run missing = finished(kavo::start_run(id));
  EXPECT_EQ(missing.result, "refused");
  EXPECT_THAT(missing.note, testing::HasSubstr("No such file"));

  std::filesystem::create_symlink("/bin/false", root_.path() / "usr/kavo/lib/kavo-runner");
  const kavo::Run broken = finished(kavo::start_run(id));
  EXPECT_EQ(broken.result, "refused");
  EXPECT_EQ(broken.started, std::nullopt);
}

TEST_F(RunTest, OutputCanBeFollowedWhileTheRunGoesOn) {
  const int id = store_as(owner(), "echo first; " + wait_for_file(file("gate")) + "; echo second");
  const std::int64_t run = kavo::start_run(id);
  EXPECT_TRUE(eventually([&] { return kavo::run_output(run) == "first\n"; }));
  EXPECT_EQ(kavo::load_run(run).ended, std::nullopt);
  root_.write("gate", "");
  finished(run);
  EXPECT_EQ(kavo::run_output(run), "first\nsecond\n");
  EXPECT_EQ(kavo::run_output(run, 3), "st\nsecond\n");
  EXPECT_EQ(kavo::run_output(run, 6), "second\n");
  EXPECT_EQ(kavo::run_output(run, 13), "");
}

TEST_F(RunTest, AStoppedRunEndsWithAllThatItHasStarted) {
  // A process that left the session and its parent, one that ignores TERM, and the shell itself.
  const int id = store_as(owner(), "(setsid sh -c 'sleep 600 & echo $! > " + file("orphan") +
                                       "' &); trap '' TERM; sleep 600 & echo $! > " + file("deaf") +
                                       "; wait; sleep 600");
  const std::int64_t run = kavo::start_run(id);
  pid_t orphan = 0;
  pid_t deaf = 0;
  ASSERT_TRUE(eventually([&] {
    return std::ifstream(file("orphan")) >> orphan && std::ifstream(file("deaf")) >> deaf;
  }));
  kavo::stop_run(run);
  const kavo::Run stopped = finished(run);  // after the ten seconds of grace
  EXPECT_EQ(stopped.result, "stopped");
  EXPECT_GE(*stopped.ended - *stopped.started, 9);
  // Gone, as soon as whoever they were left to has reaped them.
  EXPECT_TRUE(eventually([&] { return kill(orphan, 0) != 0 && kill(deaf, 0) != 0; }));
  try {
    kavo::stop_run(run);
    ADD_FAILURE() << "it was stopped twice";
  } catch (const kavo::StoreFailure& failure) {
    EXPECT_EQ(failure.code(), kavo::StoreError::kEnded);
  }
}

TEST_F(RunTest, AManualStartNeedsAScheduler) {
  const int id = store_as(owner(), "true");
  scheduler_.end(SIGTERM);
  EXPECT_LT(KAVOSchedTaskRun(id, 0, 0), 0);
  EXPECT_EQ(last_error(), static_cast<int>(kavo::StoreError::kNoScheduler));
  EXPECT_TRUE(kavo::latest_runs(id, 1).empty());
}

}  // namespace
