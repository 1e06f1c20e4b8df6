#include "store/due_times.h"

#include <vector>

#include "store/database.h"
#include "store/task_store.h"

namespace kavo {
namespace {

std::vector<Task> tasks_to_renew(SQLite::Database& database, std::int64_t now, int after_id,
                                 int limit) {
  SQLite::Statement statement(database,
                              "SELECT id, schedule, next_run FROM tasks WHERE id > ? AND enabled "
                              "AND (next_run IS NULL OR next_run > ?) ORDER BY id LIMIT ?");
  statement.bind(1, after_id);
  statement.bind(2, now);
  statement.bind(3, limit);
  std::vector<Task> tasks;
  while (statement.executeStep()) {
    Task& task = tasks.emplace_back();
    task.id = statement.getColumn(0).getInt();
    task.schedule = statement.getColumn(1).getString();
    if (!statement.isColumnNull(2)) {
      task.next_run = statement.getColumn(2).getInt64();
    }
  }
  return tasks;
}

// The next run, or what is stored when the schedule cannot be read: the claim will tell.
std::optional<std::int64_t> renewed(const Task& task, std::int64_t now) {
  try {
    return next_run_of(task, now);
  } catch (const StoreFailure&) {
    return task.next_run;
  }
}

}  // namespace

std::optional<std::int64_t> earliest_due() {
  return with_store([](SQLite::Database& database) -> std::optional<std::int64_t> {
    SQLite::Statement statement(
        database,
        "SELECT next_run FROM tasks WHERE next_run IS NOT NULL ORDER BY next_run LIMIT 1");
    if (!statement.executeStep()) {
      return std::nullopt;
    }
    return statement.getColumn(0).getInt64();
  });
}

std::optional<int> renew_next_runs(std::int64_t now, int after_id, int limit) {
  return in_transaction([&](SQLite::Database& database) -> std::optional<int> {
    const std::vector<Task> tasks = tasks_to_renew(database, now, after_id, limit);
    SQLite::Statement update(database, "UPDATE tasks SET next_run = ? WHERE id = ?");
    for (const Task& task : tasks) {
      const auto next = renewed(task, now);
      if (next == task.next_run) {
        continue;
      }
      update.reset();
      update.clearBindings();
      if (next) {
        update.bind(1, *next);
      }
      update.bind(2, task.id);
      update.exec();
    }
    return tasks.empty() ? std::nullopt : std::optional(tasks.back().id);
  });
}

}  // namespace kavo
