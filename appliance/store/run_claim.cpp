#include "store/run_claim.h"

#include "base/clock.h"
#include "schedule/zone.h"
#include "store/run_rows.h"
#include "store/state.h"
#include "store/task_store.h"

namespace kavo {
namespace {

constexpr int kSecondsPerMinute = 60;

std::vector<int> due_tasks(Database& database, std::int64_t now, int limit) {
  SQLite::Statement statement(
      database, "SELECT id FROM tasks WHERE next_run <= ? ORDER BY next_run, id LIMIT ?");
  statement.bind(1, now);
  statement.bind(2, limit);
  std::vector<int> ids;
  while (statement.executeStep()) {
    ids.push_back(statement.getColumn(0).getInt());
  }
  return ids;
}

void set_next_run(Database& database, int id, std::optional<std::int64_t> next_run) {
  const PreparedUse statement = database.prepared("UPDATE tasks SET next_run = ? WHERE id = ?");
  if (next_run) {
    statement->bind(1, *next_run);
  }
  statement->bind(2, id);
  statement->exec();
}

// Records a run that ends as soon as it is claimed.
void record_ended(Database& database, const Task& task, const char* cause, const char* result,
                  const std::string& note) {
  const std::int64_t id = insert_run(database, task, 0, cause, task.next_run, *task.next_run);
  write_end(database, id, {result, {}, note, ""});
}

void record_due(Database& database, const Task& task, const Schedule& schedule, const char* cause) {
  if (!task.can_run_task_same_time && has_unfinished_run(database, task.id)) {
    record_ended(database, task, cause, result::kSkipped, "");
    return;
  }
  insert_run(database, task, schedule.time_limit * kSecondsPerMinute, cause, task.next_run,
             *task.next_run);
}

void claim(Database& database, const Task& task, std::int64_t now) {
  const std::int64_t due = *task.next_run;
  const Schedule schedule = schedule_of(task);
  std::int64_t claimed_until = due;
  if (now - due <= kMissedAfter) {
    record_due(database, task, schedule, cause::kSchedule);
  } else {
    // Everything that is missed by now goes along with the first of it.
    claimed_until = now - kMissedAfter - 1;
    if (schedule.missed == Schedule::Missed::kOnce) {
      record_due(database, task, schedule, cause::kCatchUp);
    } else {
      record_ended(database, task, cause::kSchedule, result::kMissed, "");
    }
  }
  set_next_run(database, task.id, next_run(schedule, schedule_zone(schedule), claimed_until));
}

}  // namespace

int claim_due(std::int64_t now, int limit) {
  // Looked up first without a transaction: mostly nothing is due, and nobody is to wait for that.
  if (with_store([&](Database& database) { return due_tasks(database, now, 1); }).empty()) {
    return 0;
  }
  return in_transaction([&](Database& database) {
    const std::vector<int> ids = due_tasks(database, now, limit);
    for (const int id : ids) {
      const Task task = load_task(id);
      try {
        claim(database, task, now);
      } catch (const StoreFailure& failure) {
        if (failure.code() != StoreError::kCorrupt) {
          throw;
        }
        // One schedule that cannot be read must not hold up the others.
        record_ended(database, task, cause::kSchedule, result::kRefused, failure.what());
        set_next_run(database, id, std::nullopt);
      }
    }
    save_latest_time(now);
    return static_cast<int>(ids.size());
  });
}

std::int64_t claim_by_hand(int task_id) {
  return in_transaction([&](Database& database) {
    const Task task = load_task(task_id);
    if (task.id == -1) {
      throw StoreFailure(StoreError::kNoSuchTask, "A task that is not stored cannot be run.");
    }
    if (!task.can_run_task_same_time && has_unfinished_run(database, task_id)) {
      throw StoreFailure(StoreError::kRunning,
                         "Task " + std::to_string(task_id) + " is running already.");
    }
    return insert_run(database, task, schedule_of(task).time_limit * kSecondsPerMinute,
                      cause::kManual, std::nullopt, Clock::now());
  });
}

bool take_back(std::int64_t id) {
  return with_store([&](Database& database) {
    SQLite::Statement statement(
        database, "DELETE FROM runs WHERE id = ? AND started IS NULL AND ended IS NULL");
    statement.bind(1, id);
    return statement.exec() != 0;
  });
}

}  // namespace kavo
