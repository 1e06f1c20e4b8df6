// Runners between a scheduler, which the test plays, and the store.

#include <sys/socket.h>

#include <array>

#include "scheduler/run_starter.h"
#include "scheduler_fixture.h"
#include "store/record.h"
#include "store/run_claim.h"
#include "store/run_queue.h"

namespace {

class RunStarterTest : public SchedulerTest {
 protected:
  // A claimed run that writes its id to the file "ids", and its runner, which waits.
  std::pair<std::int64_t, kavo::Runner> start() {
    const std::int64_t id = kavo::claim_by_hand(
        store_task("echo $KAVO_RUN_ID >>" + file("ids") + "; printf 'out\\0put'"));
    kavo::RunLock lock;
    EXPECT_TRUE(lock.take(id));
    return {id, starter_.start(id, lock)};
  }

  static void hand_over(std::int64_t id, const kavo::Runner& runner) {
    kavo::hand_over(runner.line, kavo::mark_started(id, runner.process).value());
  }

  static bool is_gone(std::int64_t id) {
    return eventually([&] { return !kavo::RunLock::is_held(id); });
  }

  // Waits for the runner's report.
  static kavo::RunEnd report_on(const kavo::Line& line) {
    char byte = 0;
    recv(line.get(), &byte, 1, MSG_PEEK);
    return kavo::receive_report(line).value();
  }

  std::string ids() const {
    std::ifstream stream(file("ids"));
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  kavo::RunnerStarter starter_;
};

TEST_F(RunStarterTest, ARunnerWhoseSchedulerIsGoneDoesTheRestItself) {
  struct Row {
    const char* when;
    std::function<void(std::int64_t, kavo::Runner&)> scheduler;
  };
  for (const Row& row : {
           Row{"before the run was marked", [](std::int64_t, kavo::Runner&) {}},
           Row{"before the run was handed over",
               [](std::int64_t id, kavo::Runner&runner) {
                 kavo::mark_started(id, runner.process);
               }},
           Row{"before the report", hand_over},
           Row{"before the end was recorded",
               [](std::int64_t id, kavo::Runner&runner) {
                 hand_over(id, runner);
                 report_on(runner.line);
               }},
       }) {
    SCOPED_TRACE(row.when);
    auto [id, runner] = start();
    row.scheduler(id, runner);
    runner.line = kavo::Line();
    const kavo::Run run = finished(id);
    EXPECT_EQ(run.result, "ok");
    EXPECT_EQ(run.runner, runner.process);
    EXPECT_EQ(kavo::run_output(id), std::string("out\0put", 7));
  }
  EXPECT_EQ(ids(), "1\n2\n3\n4\n");  // each once
}

TEST_F(RunStarterTest, ARunThatIsNotTheRunnersIsNotExecuted) {
  auto [stopped, one] = start();
  EXPECT_TRUE(kavo::stop_waiting(stopped));
  auto [others, two] = start();
  kavo::mark_started(others, getpid());
  kavo::leave_alone(one.line);
  kavo::leave_alone(two.line);
  EXPECT_TRUE(is_gone(stopped) && is_gone(others));
  EXPECT_EQ(ids(), "");
}

TEST_F(RunStarterTest, ASchedulerThatLivesRecordsTheEnd) {
  auto [id, runner] = start();
  hand_over(id, runner);
  const kavo::RunEnd end = report_on(runner.line);
  EXPECT_EQ(end.result, "ok");
  EXPECT_EQ(end.code, 0);
  EXPECT_EQ(end.output, std::string("out\0put", 7));
  kavo::acknowledge(runner.line);
  EXPECT_TRUE(is_gone(id));
  EXPECT_EQ(kavo::load_run(id).ended, std::nullopt);  // left to the scheduler
}

TEST_F(RunStarterTest, WhatMakesRunnersIsReplacedWhenItDied) {
  auto [first, one] = start();
  pid_t maker = 0;
  std::ifstream stat("/proc/" + std::to_string(one.process) + "/stat");
  std::string ignored;
  ASSERT_TRUE(stat >> ignored >> ignored >> ignored >> maker);
  kill(maker, SIGKILL);
  auto [second, two] = start();
  one.line = kavo::Line();
  two.line = kavo::Line();
  EXPECT_EQ(finished(first).result, "ok");
  EXPECT_EQ(finished(second).result, "ok");
}

TEST(LineTest, TheLongestRunAndOddReportsArriveWhole) {
  std::array<int, 2> ends{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
  const kavo::Line scheduler(ends[0]);
  const kavo::Line runner(ends[1]);
  kavo::Run run;
  run.id = 1LL << 40;
  run.task_id = 7;
  run.time_limit = 60;
  run.task_name = std::string(kavo::kMaxNameBytes, 'n');
  run.owner = std::string(kavo::kMaxNameBytes, 'o');
  run.command = std::string(kavo::kMaxCommandBytes, 'c');
  kavo::hand_over(scheduler, run);
  const kavo::Run taken = kavo::take_over(runner).value();
  EXPECT_EQ(std::tie(taken.id, taken.task_id, taken.time_limit, taken.task_name, taken.owner,
                     taken.command),
            std::tie(run.id, run.task_id, run.time_limit, run.task_name, run.owner, run.command));

  kavo::acknowledge(scheduler);
  EXPECT_TRUE(kavo::report(runner, {"refused", {}, "why", std::string("\0\0", 2), 12}));
  const kavo::RunEnd end = kavo::receive_report(scheduler).value();
  EXPECT_EQ(end.result + ": " + end.note, "refused: why");
  EXPECT_EQ(end.code, std::nullopt);
  EXPECT_EQ(end.output, std::string("\0\0", 2));
  EXPECT_EQ(end.output_position, 12U);
  EXPECT_FALSE(kavo::report(runner, {"ok", 0, "", std::string(1 << 20, 'x'), 0}));

  kavo::leave_alone(scheduler);
  EXPECT_FALSE(kavo::take_over(runner).has_value());
  EXPECT_FALSE(kavo::report(runner, {"ok", 0, "", "", 0}));
}

}  // namespace
