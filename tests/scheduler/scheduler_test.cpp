// The scheduler's decisions, over a real store with a stopped clock; nothing is started.

#include <fcntl.h>
#include <sqlite3.h>

#include <map>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "base/clock.h"
#include "scheduler/scheduler.h"
#include "scheduler_fixture.h"
#include "store/database.h"
#include "store/run_claim.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t kNoon = 1793880000;  // 2026-11-05 12:00 UTC
constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 86400;
constexpr char kEveryMinute[] = R"({"repeat_min": 1, "timezone": "UTC"})";
constexpr char kEveryHour[] = R"({"repeat_hour": 1, "timezone": "UTC"})";

struct Killed {};

// Stands for runners: holds their locks until the test lets them end.
class RecordingStarter : public kavo::RunStarter {
 public:
  kavo::Runner start(std::int64_t run_id, const kavo::RunLock& lock) override {
    if (error != 0) throw std::system_error(error, std::generic_category());
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    started.push_back(run_id);
    runners[run_id] = {kavo::Descriptor(ends[1]),
                       kavo::Descriptor(fcntl(lock.descriptor(), F_DUPFD_CLOEXEC, 0))};
    if (run_id == killed_with) throw Killed();
    return {getpid(), kavo::Descriptor(ends[0])};
  }

  // The runner records an end and goes.
  void end(std::int64_t run_id) {
    kavo::end_run(run_id, {kavo::result::kOk, 0, "", "output"});
    runners.erase(run_id);
  }
  // What was started since it was asked last.
  std::vector<std::int64_t> take_started() { return std::exchange(started, {}); }

  std::vector<std::int64_t> started;
  std::map<std::int64_t, std::pair<kavo::Descriptor, kavo::Descriptor>> runners;
  int error = 0;                 // of starting a runner
  std::int64_t killed_with = 0;  // the run with whose runner the scheduler is killed
};

class LogicTest : public SchedulerTest {
 protected:
  LogicTest() { restart(); }

  // Another scheduler takes the place of the one there is. Runners live on.
  void restart(const std::string& zones = "zones") { scheduler_.emplace(starter_, zones); }

  // A pass at a moment; the runs that it starts.
  std::vector<std::int64_t> pass_at(std::int64_t moment) {
    clock_.set(moment);
    scheduler_->pass();
    return starter_.take_started();
  }
  std::vector<std::int64_t> end_and_pass(std::int64_t run) {
    starter_.end(run);
    scheduler_->pass();
    return starter_.take_started();
  }

  // "cause: result" of the runs of a task, oldest first; "cause: " for one that has not ended.
  static std::vector<std::string> history(std::optional<int> task_id = {}) {
    std::vector<std::string> lines;
    for (const kavo::Run& run : kavo::latest_runs(task_id, 1000)) {
      lines.insert(lines.begin(), run.cause + ": " + run.result);
    }
    return lines;
  }
  static std::optional<std::int64_t> next_run(int task) { return kavo::load_task(task).next_run; }

  static auto flag(bool kavo::Task::*member, bool value) {
    return [=](kavo::TaskRecord& task) { task.set(member, value); };
  }
  static auto of_app(const std::string& app, bool together) {
    return [=](kavo::TaskRecord& task) {
      task.set(&kavo::Task::app, app);
      task.set(&kavo::Task::can_run_app_same_time, together);
    };
  }
  static std::string daily(int hour, int minute, const std::string& more = "") {
    return R"({"timezone": "UTC", "hour": )" + std::to_string(hour) + R"(, "min": )" +
           std::to_string(minute) + more + "}";
  }
  void configure(const std::string& text) const { root_.write("etc/kavo/kavo.conf", text); }

  kavo::Clock::Stopped clock_{kNoon};
  RecordingStarter starter_;
  std::optional<kavo::Scheduler> scheduler_;
};

TEST_F(LogicTest, RunsStartByDueTimeThenIdWithinTheLimit) {
  configure("maxParallelRuns=\"1\"\n");
  const int a = store_task("a", daily(12, 2));
  const int b = store_task("b", daily(12, 1));
  const int c = store_task("c", daily(12, 1));
  const int d = store_task("d", daily(18, 0));
  EXPECT_THAT(pass_at(kNoon), IsEmpty());
  EXPECT_EQ(scheduler_->next_pass(), kNoon + kMinute);
  clock_.set(kNoon + 90);
  kavo::claim_by_hand(d);  // stands in line from now on: after b and c, before a
  std::vector<int> order;
  std::vector<std::int64_t> started = pass_at(kNoon + 2 * kMinute);
  while (!started.empty()) {
    ASSERT_EQ(started.size(), 1U);
    order.push_back(kavo::load_run(started[0]).task_id);
    started = end_and_pass(started[0]);
  }
  EXPECT_THAT(order, ElementsAre(b, c, d, a));
  EXPECT_EQ(scheduler_->next_pass(), kNoon + 6 * kHour);
  const kavo::Run run = kavo::latest_runs(a, 1).at(0);
  EXPECT_EQ(run.due, kNoon + 2 * kMinute);
  EXPECT_EQ(run.cause, "schedule");
  EXPECT_EQ(next_run(a), kNoon + 2 * kMinute + kDay);
}

TEST_F(LogicTest, ADueRunIsSkippedWhileTheTaskRunsUnlessItsRunsMayOverlap) {
  const int alone = store_task("alone", kEveryMinute);
  const int together =
      store_task("together", kEveryMinute, flag(&kavo::Task::can_run_task_same_time, true));
  EXPECT_EQ(pass_at(kNoon + kMinute).size(), 2U);
  EXPECT_THAT(pass_at(kNoon + 2 * kMinute), ElementsAre(4));
  EXPECT_THAT(history(alone), ElementsAre("schedule: ", "schedule: skipped"));
  EXPECT_THAT(history(together), ElementsAre("schedule: ", "schedule: "));
  EXPECT_THROW(kavo::claim_by_hand(alone), kavo::StoreFailure);
  EXPECT_THAT(end_and_pass(1), IsEmpty());
  EXPECT_EQ(pass_at(kNoon + 3 * kMinute).size(), 2U);
}

TEST_F(LogicTest, RunsOfAnAppThatMayNotOverlapWaitInLine) {
  store_task("a", daily(12, 1), of_app("app", true));
  store_task("b", daily(12, 2), of_app("app", false));
  store_task("c", daily(12, 3), of_app("app", true));
  store_task("d", daily(12, 3), of_app("other", false));
  store_task("e", daily(12, 3), of_app("", false));
  store_task("f", daily(12, 3), of_app("", false));
  EXPECT_THAT(pass_at(kNoon + kMinute), ElementsAre(1));
  EXPECT_THAT(pass_at(kNoon + 2 * kMinute), IsEmpty());             // b bears no other beside it
  EXPECT_THAT(pass_at(kNoon + 3 * kMinute), ElementsAre(4, 5, 6));  // c stands behind b
  EXPECT_THAT(end_and_pass(1), ElementsAre(2));
  EXPECT_THAT(end_and_pass(4), IsEmpty());
  EXPECT_THAT(end_and_pass(2), ElementsAre(3));
}

TEST_F(LogicTest, WhatFellDueTooLongAgoIsMissed) {
  struct Row {
    const char* missed;
    std::int64_t late;  // seconds after 12:00
    std::vector<std::string> history;
    std::int64_t next;  // seconds after 12:00
  };
  // Due every hour from 12:00 on.
  for (const Row& row : {
           Row{"skip", 0, {"schedule: "}, kHour},
           Row{"skip", 90, {"schedule: "}, kHour},
           Row{"skip", 91, {"schedule: missed"}, kHour},
           Row{"once", 91, {"catch-up: "}, kHour},
           Row{"skip", 3 * kDay - 1, {"schedule: missed"}, 3 * kDay},
           Row{"once", 3 * kDay - 1, {"catch-up: "}, 3 * kDay},
           Row{"skip", 3 * kDay + 90, {"schedule: missed", "schedule: "}, 3 * kDay + kHour},
           // The run that is due now finds the one that stands for the missed ones.
           Row{"once", 3 * kDay + 90, {"catch-up: ", "schedule: skipped"}, 3 * kDay + kHour},
       }) {
    SCOPED_TRACE(std::string(row.missed) + " " + std::to_string(row.late));
    clock_.set(kNoon - 1);
    const int id = store_task("true", R"({"repeat_hour": 1, "timezone": "UTC", "missed": ")" +
                                          std::string(row.missed) + "\"}");
    for (const std::int64_t run : pass_at(kNoon + row.late)) {
      starter_.runners.erase(run);  // no end, which does not matter here
    }
    EXPECT_EQ(history(id), row.history);
    EXPECT_EQ(kavo::latest_runs(id, 9).back().due, kNoon);
    EXPECT_EQ(next_run(id), kNoon + row.next);
    kavo::remove_task(id);
    restart();
  }
}

TEST_F(LogicTest, AClockSetBackALittleRepeatsNothing) {
  const int id = store_task("true", kEveryHour, flag(&kavo::Task::can_run_task_same_time, true));
  EXPECT_EQ(pass_at(kNoon + kHour).size(), 1U);
  EXPECT_THAT(pass_at(kNoon - 2 * kHour), IsEmpty());  // three hours back
  restart();
  EXPECT_THAT(pass_at(kNoon - kHour), IsEmpty());
  EXPECT_THAT(pass_at(kNoon + kHour), IsEmpty());
  EXPECT_EQ(next_run(id), kNoon + 2 * kHour);
  EXPECT_EQ(pass_at(kNoon + 2 * kHour).size(), 1U);
}

TEST_F(LogicTest, AClockSetBackByMoreIsACorrection) {
  const int id = store_task("true", kEveryHour, flag(&kavo::Task::can_run_task_same_time, true));
  EXPECT_EQ(pass_at(kNoon + kHour).size(), 1U);
  EXPECT_THAT(pass_at(kNoon - 2 * kHour - 1), IsEmpty());
  EXPECT_EQ(next_run(id), kNoon - 2 * kHour);
  EXPECT_EQ(pass_at(kNoon - 2 * kHour).size(), 1U);
  // Also when it is set while no scheduler is there,
  restart();
  EXPECT_THAT(pass_at(kNoon - kDay + 1), IsEmpty());
  EXPECT_EQ(next_run(id), kNoon - kDay + kHour);
  // and counted from what it would show, had the scheduler slept for four hours.
  scheduler_->clock_passed(kNoon - kDay + 4 * kHour);
  EXPECT_THAT(pass_at(kNoon - kDay + kHour - 10), IsEmpty());
  EXPECT_EQ(next_run(id), kNoon - kDay + kHour);
}

TEST_F(LogicTest, AClockSetForwardMakesRunsMissedAndIsCorrectedBack) {
  const int hourly = store_task("true", kEveryHour);
  const int once = store_task("true", R"({"type": "date", "date": "2026-12-24", "hour": 20,
                                          "timezone": "UTC"})");
  EXPECT_THAT(pass_at(kNoon + 365 * kDay + 200), IsEmpty());
  EXPECT_THAT(history(), ElementsAre("schedule: missed", "schedule: missed"));
  EXPECT_EQ(next_run(once), std::nullopt);
  EXPECT_THAT(pass_at(kNoon + 1), IsEmpty());
  EXPECT_EQ(next_run(hourly), kNoon + kHour);
  EXPECT_EQ(next_run(once), kNoon + 49 * kDay + 8 * kHour);
}

TEST_F(LogicTest, ASchedulerGoesOnWhereAnotherWasKilled) {
  configure("maxParallelRuns=\"4\"\n");
  starter_.killed_with = 4;
  for (int i = 0; i < 5; ++i) {
    store_task("task", daily(12, 1));
  }
  EXPECT_THROW(pass_at(kNoon + kMinute), Killed);
  EXPECT_THAT(starter_.take_started(), ElementsAre(1, 2, 3, 4));
  kavo::mark_started(1, getpid());
  kavo::mark_started(2, getpid());
  starter_.runners.erase(2);  // its runner died
  starter_.runners.erase(3);  // the scheduler was killed before it started a runner
  restart();                  // and the runner of run 4 is about to mark it
  EXPECT_THAT(pass_at(kNoon + 2 * kMinute), ElementsAre(3, 5));
  EXPECT_EQ(kavo::load_run(2).result, "interrupted");
  EXPECT_EQ(scheduler_->next_pass(), kNoon + 2 * kMinute + 1);  // to look after run 4
  kavo::mark_started(4, getpid());
  store_task("sixth", R"({"hour": 12, "min": 3, "timezone": "UTC"})");
  // All four places are taken, two by runs that were adopted.
  EXPECT_THAT(pass_at(kNoon + 3 * kMinute), IsEmpty());
  EXPECT_EQ(scheduler_->next_pass(), kNoon + kDay + kMinute);  // the sixth is claimed, and waits
  EXPECT_EQ(end_and_pass(3).size(), 1U);
}

TEST_F(LogicTest, ARunnerThatIsGoneWithoutAWordIsNoticed) {
  starter_.killed_with = 3;
  const int id = store_task("true", kEveryMinute);
  const int other = store_task("true", kEveryMinute);
  store_task("true", kEveryMinute);
  EXPECT_THROW(pass_at(kNoon + kMinute), Killed);  // before they were marked
  kavo::mark_started(1, getpid());
  starter_.runners.clear();
  starter_.killed_with = 0;
  pass_at(kNoon + 2 * kMinute);
  EXPECT_THAT(history(id), ElementsAre("schedule: interrupted", "schedule: "));
  EXPECT_THAT(history(other), ElementsAre("schedule: refused", "schedule: "));
}

TEST_F(LogicTest, ARunnerThatCannotBeStartedIsTriedAgainOnlyWhenThatMayHelp) {
  store_task("true", daily(12, 1));
  starter_.error = EAGAIN;
  EXPECT_THAT(pass_at(kNoon + kMinute), IsEmpty());
  EXPECT_THAT(history(), ElementsAre("schedule: "));
  EXPECT_EQ(scheduler_->next_pass(), kNoon + kMinute + 1);
  starter_.error = ENOENT;
  EXPECT_THAT(pass_at(kNoon + kMinute + 1), IsEmpty());
  EXPECT_THAT(history(), ElementsAre("schedule: refused"));
}

TEST_F(LogicTest, AStoreThatIsBusyDelaysARunAndLosesNone) {
  store_task("true", daily(12, 1));
  pass_at(kNoon);
  kavo::connection().setBusyTimeout(0);
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(kavo::store_file().c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_THROW(pass_at(kNoon + kMinute), kavo::StoreFailure);
  sqlite3_close(other);
  EXPECT_THAT(pass_at(kNoon + kMinute + 7), ElementsAre(1));
  EXPECT_THAT(pass_at(kNoon + kMinute + 8), IsEmpty());
  kavo::wait_for_others(kavo::connection());
}

TEST_F(LogicTest, AScheduleThatCannotBeReadHoldsUpNoOther) {
  const int bad = store_task("true", daily(12, 1));
  const int good = store_task("true", daily(12, 1));
  kavo::connection().exec("UPDATE tasks SET schedule = '{' WHERE id = " + std::to_string(bad));
  EXPECT_THAT(pass_at(kNoon + kMinute), ElementsAre(2));
  EXPECT_THAT(history(bad), ElementsAre("schedule: refused"));
  EXPECT_EQ(next_run(bad), std::nullopt);
  EXPECT_EQ(kavo::load_run(2).task_id, good);
}

TEST_F(LogicTest, ARunThatWaitsCanBeStoppedAndTakenBack) {
  configure("maxParallelRuns=\"1\"\n");
  store_task("a", daily(12, 1));
  store_task("b", daily(12, 1));
  const int c = store_task("c", daily(18, 1));
  EXPECT_THAT(pass_at(kNoon + kMinute), ElementsAre(1));
  EXPECT_TRUE(kavo::stop_waiting(2));
  EXPECT_FALSE(kavo::stop_waiting(2));
  EXPECT_FALSE(kavo::stop_waiting(1));
  EXPECT_FALSE(kavo::mark_started(2, getpid()));  // a runner that comes too late goes away
  EXPECT_FALSE(kavo::take_back(1));
  EXPECT_TRUE(kavo::take_back(kavo::claim_by_hand(c)));
  EXPECT_THAT(end_and_pass(1), IsEmpty());
  EXPECT_THAT(history(), ElementsAre("schedule: ok", "schedule: stopped"));
}

TEST_F(LogicTest, HistoryIsTrimmedByTaskAndByAge) {
  configure("historyRuns=\"3\"\nhistoryDays=\"10\"\n");
  const int often = store_task("true", kEveryMinute);
  const int rarely = store_task("true", daily(12, 1));
  const int running = store_task("true", daily(12, 1));
  pass_at(kNoon);
  ASSERT_EQ(pass_at(kNoon + kMinute).size(), 3U);
  starter_.end(1);
  starter_.end(2);
  for (int i = 2; i <= 6; ++i) {
    for (const std::int64_t run : pass_at(kNoon + i * kMinute)) {
      starter_.end(run);
    }
  }
  EXPECT_EQ(history(often).size(), 3U);
  EXPECT_EQ(history(rarely).size(), 1U);
  EXPECT_THROW(kavo::load_run(1), kavo::StoreFailure);
  EXPECT_EQ(kavo::connection().execAndGet("SELECT count(*) FROM run_output").getInt(), 4);

  kavo::remove_task(often);
  pass_at(kNoon + 10 * kDay);
  EXPECT_EQ(history(often).size(), 3U);
  // The run of the eleventh day is there, and the one that has not ended yet.
  pass_at(kNoon + 11 * kDay + kMinute);
  EXPECT_EQ(history(often).size(), 0U);
  EXPECT_EQ(kavo::load_run(3).task_id, running);
}

TEST_F(LogicTest, AClockThatLeaptForwardDoesNotTrimAtOnce) {
  const int id = store_task("true", daily(12, 1));
  pass_at(kNoon);
  pass_at(kNoon + kMinute);
  starter_.end(1);
  pass_at(kNoon + 3650 * kDay);
  pass_at(kNoon + 3650 * kDay + kHour);
  EXPECT_EQ(history(id).front(), "schedule: ok");
  pass_at(kNoon + 2 * kMinute);  // it was wrong
  EXPECT_EQ(history(id).front(), "schedule: ok");
  // A day later it is believed, also when the appliance was off in between.
  pass_at(kNoon + 300 * kDay);
  EXPECT_EQ(history(id).front(), "schedule: ok");
  restart();
  pass_at(kNoon + 307 * kDay);
  EXPECT_EQ(history(id).front(), "schedule: missed");
}

TEST_F(LogicTest, NewZonesMoveWhatIsNotDueYet) {
  const int later = store_task("true", daily(18, 0));
  const int due = store_task("true", daily(18, 0));
  pass_at(kNoon);
  const auto forget = [&](int id, std::int64_t moment) {
    kavo::connection().exec("UPDATE tasks SET next_run = " + std::to_string(moment) +
                            " WHERE id = " + std::to_string(id));
  };
  forget(later, kNoon + 9 * kHour);
  restart();
  pass_at(kNoon);
  EXPECT_EQ(next_run(later), kNoon + 9 * kHour);  // the same zones: nothing is worked out
  forget(due, kNoon);
  scheduler_->set_zones("other zones");
  EXPECT_THAT(pass_at(kNoon), ElementsAre(1));
  EXPECT_EQ(kavo::load_run(1).task_id, due);
  EXPECT_EQ(next_run(later), kNoon + 6 * kHour);
  forget(later, kNoon + 9 * kHour);
  restart("zones of another day");
  pass_at(kNoon);
  EXPECT_EQ(next_run(later), kNoon + 6 * kHour);
}

// Every statement of a pass, a start, an end and a look at the history finds its rows by an index.
TEST_F(LogicTest, NoStatementReadsAWholeTable) {
  sqlite3* database = kavo::connection().getHandle();
  std::set<std::string> statements;
  sqlite3_trace_v2(
      database, SQLITE_TRACE_STMT,
      [](unsigned, void* context, void* statement, void*) {
        static_cast<std::set<std::string>*>(context)->insert(
            sqlite3_sql(static_cast<sqlite3_stmt*>(statement)));
        return 0;
      },
      &statements);
  store_task("true", kEveryMinute);
  pass_at(kNoon + kMinute);
  pass_at(kNoon + 2 * kMinute);
  kavo::append_output(1, 6, "a");
  kavo::run_output(1, 0);
  end_and_pass(1);
  kavo::latest_runs(1, 10);
  kavo::latest_runs({}, 10);
  sqlite3_trace_v2(database, 0, nullptr, nullptr);
  int explained = 0;
  for (const std::string& sql : statements) {
    if (!sql.starts_with("SELECT") && !sql.starts_with("UPDATE") && !sql.starts_with("DELETE")) {
      continue;
    }
    SQLite::Statement plan(kavo::connection(), "EXPLAIN QUERY PLAN " + sql);
    while (plan.executeStep()) {
      const std::string step = plan.getColumn(3).getString();
      EXPECT_FALSE(step.starts_with("SCAN") && step.find("INDEX") == std::string::npos &&
                   sql.find("ORDER BY id DESC LIMIT") == std::string::npos)
          << step << "\n"
          << sql;
      EXPECT_EQ(step.find("TEMP B-TREE"), std::string::npos) << step << "\n" << sql;
    }
    ++explained;
  }
  EXPECT_GE(explained, 15);
}

}  // namespace
