#include "store/run_store.h"

#include "base/clock.h"
#include "store/database.h"
#include "store/run_lock.h"
#include "store/task_store.h"

namespace kavo {
namespace {

constexpr char kSelect[] =
    "SELECT id, task_id, task_name, owner, command, cause, due, started, ended, result, code, note "
    "FROM runs ";

Run read_run(SQLite::Statement& row) {
  Run run;
  run.id = row.getColumn(0).getInt64();
  run.task_id = row.getColumn(1).getInt();
  run.task_name = row.getColumn(2).getString();
  run.owner = row.getColumn(3).getString();
  run.command = row.getColumn(4).getString();
  run.cause = row.getColumn(5).getString();
  if (!row.isColumnNull(6)) {
    run.due = row.getColumn(6).getInt64();
  }
  run.started = row.getColumn(7).getInt64();
  if (!row.isColumnNull(8)) {
    run.ended = row.getColumn(8).getInt64();
    run.result = row.getColumn(9).getString();
  }
  if (!row.isColumnNull(10)) {
    run.code = row.getColumn(10).getInt();
  }
  run.note = row.getColumn(11).getString();
  return run;
}

StoreFailure no_such_run(std::int64_t id) {
  return {StoreError::kNoSuchRun, "There is no run " + std::to_string(id) + "."};
}

void write_end(SQLite::Database& database, std::int64_t id, const RunEnd& end) {
  SQLite::Statement statement(database,
                              "UPDATE runs SET ended = ?, result = ?, code = ?, note = ?, "
                              "output = ? WHERE id = ? AND ended IS NULL");
  statement.bind(1, Clock::now());
  statement.bind(2, end.result);
  if (end.code) {
    statement.bind(3, *end.code);
  }
  statement.bind(4, end.note);
  statement.bind(5, end.output.data(), static_cast<int>(end.output.size()));
  statement.bind(6, id);
  statement.exec();
}

// Whether a run of the task goes on. Marks those that only seem to.
bool is_running(SQLite::Database& database, int task_id) {
  SQLite::Statement unfinished(database, "SELECT id FROM runs WHERE task_id = ? AND ended IS NULL");
  unfinished.bind(1, task_id);
  bool running = false;
  std::vector<std::int64_t> interrupted;
  while (unfinished.executeStep()) {
    const std::int64_t id = unfinished.getColumn(0).getInt64();
    if (RunLock::is_held(id)) {
      running = true;
    } else {
      interrupted.push_back(id);
    }
  }
  for (const std::int64_t id : interrupted) {
    write_end(database, id, {result::kInterrupted, {}, "", ""});
  }
  return running;
}

}  // namespace

Run claim_run(int task_id, RunLock& lock) {
  return in_transaction([&](SQLite::Database& database) {
    const Task task = load_task(task_id);
    if (task.id == -1) {
      throw StoreFailure(StoreError::kNoSuchTask, "A task that is not stored cannot be run.");
    }
    if (is_running(database, task_id) && !task.can_run_task_same_time) {
      throw StoreFailure(StoreError::kRunning,
                         "Task " + std::to_string(task_id) + " is running already.");
    }
    SQLite::Statement statement(
        database,
        "INSERT INTO runs (task_id, task_name, owner, command, cause, started) "
        "VALUES (?, ?, ?, ?, ?, ?)");
    statement.bind(1, task_id);
    statement.bind(2, task.name);
    statement.bind(3, task.owner);
    statement.bind(4, task.command);
    statement.bind(5, cause::kManual);
    statement.bind(6, Clock::now());
    statement.exec();
    const std::int64_t id = database.getLastInsertRowid();
    lock.take(id);
    return load_run(id);
  });
}

void end_run(std::int64_t id, const RunEnd& end) {
  with_store([&](SQLite::Database& database) { write_end(database, id, end); });
}

Run load_run(std::int64_t id) {
  return with_store([&](SQLite::Database& database) {
    SQLite::Statement statement(database, std::string(kSelect) + "WHERE id = ?");
    statement.bind(1, id);
    if (!statement.executeStep()) {
      throw no_such_run(id);
    }
    return read_run(statement);
  });
}

std::string run_output(std::int64_t id) {
  return with_store([&](SQLite::Database& database) {
    SQLite::Statement statement(database, "SELECT output FROM runs WHERE id = ?");
    statement.bind(1, id);
    if (!statement.executeStep()) {
      throw no_such_run(id);
    }
    return statement.getColumn(0).getString();
  });
}

std::vector<Run> latest_runs(std::optional<int> task_id, int limit) {
  return with_store([&](SQLite::Database& database) {
    SQLite::Statement statement(database, std::string(kSelect) +
                                              (task_id ? "WHERE task_id = ?1 " : "") +
                                              "ORDER BY id DESC LIMIT ?2");
    if (task_id) {
      statement.bind(1, *task_id);
    }
    statement.bind(2, limit);
    std::vector<Run> runs;
    while (statement.executeStep()) {
      runs.push_back(read_run(statement));
    }
    return runs;
  });
}

}  // namespace kavo
