// Killing the scheduler at random moments while tasks are due, and accounting for every run.
#pragma once

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>

#include "base/clock.h"
#include "scheduler_process.h"
#include "store/database.h"

struct KillRounds {
  int rounds = 0;
  int due = 0;        // moments that fell due
  int claimed = 0;    // runs in the store
  int accounted = 0;  // runs that ended as they should and wrote their ids to the file once
  int lost = 0;       // moments without a run, and runs that wrote nothing
  int refusals = 0;   // of the store to this driver, or of a scheduler to start
  int doubled = 0;    // moments with several runs, and runs that wrote more than once
};

// Works on the store that is there, whose tasks append their run ids to `file` and may overlap. In
// each round, the tasks that are not due are made due, and a scheduler is started and killed up to
// `longest_round` later. The last one is left to finish.
class KillRoundsDriver {
  // Until the store goes along with it.
  template <typename Operation>
  auto insist(Operation operation) {
    for (int i = 0;; ++i) {
      try {
        return operation();
      } catch (const std::runtime_error&) {
        if (i == 1000) throw;
        ++refusals_;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

 public:
  KillRoundsDriver(std::string scheduler, std::string file, std::chrono::microseconds longest_round)
      : scheduler_(std::move(scheduler)), file_(std::move(file)), longest_(longest_round) {}

  KillRounds run(int rounds, unsigned int seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<long> microseconds(0, longest_.count());
    KillRounds result;
    for (; result.rounds < rounds; ++result.rounds) {
      result.due += insist([&] { return make_due(result.rounds); });
      const auto scheduler = insist([&] { return std::make_unique<SchedulerProcess>(scheduler_); });
      usleep(static_cast<useconds_t>(microseconds(random)));
      scheduler->end(SIGKILL);
    }
    const auto last = insist([&] { return std::make_unique<SchedulerProcess>(scheduler_); });
    for (int i = 0; i < 6000 && insist(goes_on); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    result.refusals = refusals_;
    account(result);
    return result;
  }

 private:
  static int count(const std::string& sql) { return kavo::connection().execAndGet(sql).getInt(); }

  static bool goes_on() {
    return count("SELECT count(*) FROM runs WHERE ended IS NULL") > 0 ||
           count("SELECT count(*) FROM tasks WHERE next_run <= " +
                 std::to_string(kavo::Clock::now())) > 0;
  }

  // Makes each task due at a moment of the last minute, unless it is due already or was due then.
  // The number of moments that fell due.
  static int make_due(int round) {
    constexpr int kMinute = 60;
    const std::int64_t now = kavo::Clock::now();
    const std::string due = std::to_string(now - round % kMinute);
    return kavo::connection().exec(
        "UPDATE tasks SET next_run = " + due + " WHERE next_run > " + std::to_string(now) +
        " AND NOT EXISTS (SELECT 1 FROM runs WHERE task_id = tasks.id AND due = " + due + ")");
  }

  void account(KillRounds& result) const {
    std::map<std::int64_t, int> written;
    std::ifstream stream(file_);
    for (std::int64_t id = 0; stream >> id;) {
      ++written[id];
    }
    SQLite::Statement runs(kavo::connection(), "SELECT id, result FROM runs");
    while (runs.executeStep()) {
      ++result.claimed;
      const auto times = written[runs.getColumn(0).getInt64()];
      result.accounted += times == 1 && runs.getColumn(1).getString() == "ok" ? 1 : 0;
      result.lost += times == 0 ? 1 : 0;
      result.doubled += times > 1 ? 1 : 0;
    }
    const int moments = count("SELECT count(*) FROM (SELECT DISTINCT task_id, due FROM runs)");
    result.lost += result.due - moments;
    result.doubled += result.claimed - moments;
  }

  std::string scheduler_;
  std::string file_;
  std::chrono::microseconds longest_;
  int refusals_ = 0;
};
