#include "store/run_store.h"

#include "base/clock.h"
#include "store/run_lock.h"
#include "store/run_rows.h"
#include "store/settings.h"

namespace kavo {
namespace {

constexpr std::int64_t kDay = 86400;
// Deleted at most with one end: a history that was made shorter gets there in steps.
constexpr int kTrimmedAtOnce = 100;

StoreFailure no_such_run(std::int64_t id) {
  return {StoreError::kNoSuchRun, "There is no run " + std::to_string(id) + "."};
}

template <typename Number>
std::optional<Number> optional_number(SQLite::Statement& row, int column) {
  if (row.isColumnNull(column)) {
    return std::nullopt;
  }
  return static_cast<Number>(row.getColumn(column).getInt64());
}

void insert_output(SQLite::Database& database, std::int64_t id, std::size_t position,
                   std::string_view bytes) {
  if (bytes.empty()) {
    return;
  }
  SQLite::Statement statement(database,
                              "INSERT INTO run_output (run_id, position, bytes) VALUES (?, ?, ?)");
  statement.bind(1, id);
  statement.bind(2, static_cast<std::int64_t>(position));
  statement.bind(3, bytes.data(), static_cast<int>(bytes.size()));
  statement.exec();
}

void trim_task(SQLite::Database& database, std::int64_t run_id) {
  SQLite::Statement statement(database,
                              "DELETE FROM runs WHERE id IN (SELECT id FROM runs WHERE task_id = "
                              "(SELECT task_id FROM runs WHERE id = ?) AND ended IS NOT NULL "
                              "ORDER BY id DESC LIMIT ? OFFSET ?)");
  statement.bind(1, run_id);
  statement.bind(2, kTrimmedAtOnce);
  statement.bind(3, setting("historyRuns", 100, 1, 1000000));
  statement.exec();
}

// While it lives, the connection neither waits for others nor for the disk.
class Unhurried {
 public:
  explicit Unhurried(SQLite::Database& database) : database_(database) {
    database_.setBusyTimeout(0);
    database_.exec("PRAGMA synchronous = NORMAL");
  }
  Unhurried(const Unhurried&) = delete;
  Unhurried& operator=(const Unhurried&) = delete;
  ~Unhurried() {
    try {
      database_.exec("PRAGMA synchronous = FULL");
      wait_for_others(database_);
    } catch (const SQLite::Exception&) {  // neither touches the file
    }
  }

 private:
  SQLite::Database& database_;
};

}  // namespace

const char kSelectRuns[] =
    "SELECT id, task_id, task_name, owner, command, app, app_alone, time_limit, cause, due, "
    "queued, started, runner, ended, result, code, note FROM runs ";

Run read_run(SQLite::Statement& row) {
  Run run;
  run.id = row.getColumn(0).getInt64();
  run.task_id = row.getColumn(1).getInt();
  run.task_name = row.getColumn(2).getString();
  run.owner = row.getColumn(3).getString();
  run.command = row.getColumn(4).getString();
  run.app = row.getColumn(5).getString();
  run.app_alone = row.getColumn(6).getInt() != 0;
  run.time_limit = row.getColumn(7).getInt();
  run.cause = row.getColumn(8).getString();
  run.due = optional_number<std::int64_t>(row, 9);
  run.queued = row.getColumn(10).getInt64();
  run.started = optional_number<std::int64_t>(row, 11);
  run.runner = optional_number<pid_t>(row, 12).value_or(0);
  run.ended = optional_number<std::int64_t>(row, 13);
  run.result = row.getColumn(14).getString();
  run.code = optional_number<int>(row, 15);
  run.note = row.getColumn(16).getString();
  return run;
}

Run find_run(SQLite::Database& database, std::int64_t id) {
  SQLite::Statement statement(database, std::string(kSelectRuns) + "WHERE id = ?");
  statement.bind(1, id);
  if (!statement.executeStep()) {
    throw no_such_run(id);
  }
  return read_run(statement);
}

std::int64_t insert_run(Database& database, const Task& task, int time_limit,
                        const std::string& cause, std::optional<std::int64_t> due,
                        std::int64_t queued) {
  const PreparedUse statement = database.prepared(
      "INSERT INTO runs (task_id, task_name, owner, command, app, app_alone, time_limit, cause, "
      "due, queued) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  statement->bind(1, task.id);
  statement->bind(2, task.name);
  statement->bind(3, task.owner);
  statement->bind(4, task.command);
  statement->bind(5, task.app);
  statement->bind(6, task.can_run_app_same_time ? 0 : 1);
  statement->bind(7, time_limit);
  statement->bind(8, cause);
  if (due) {
    statement->bind(9, *due);
  }
  statement->bind(10, queued);
  statement->exec();
  return database.getLastInsertRowid();
}

void write_end(SQLite::Database& database, std::int64_t id, const RunEnd& end) {
  SQLite::Statement statement(database,
                              "UPDATE runs SET ended = ?, result = ?, code = ?, note = ? "
                              "WHERE id = ? AND ended IS NULL");
  statement.bind(1, Clock::now());
  statement.bind(2, end.result);
  if (end.code) {
    statement.bind(3, *end.code);
  }
  statement.bind(4, end.note);
  statement.bind(5, id);
  if (statement.exec() != 0) {
    insert_output(database, id, end.output_position, end.output);
    trim_task(database, id);
  }
}

bool has_unfinished_run(SQLite::Database& database, int task_id) {
  SQLite::Statement unfinished(
      database, "SELECT id, started IS NULL FROM runs WHERE task_id = ? AND ended IS NULL");
  unfinished.bind(1, task_id);
  bool found = false;
  std::vector<std::int64_t> interrupted;
  while (unfinished.executeStep()) {
    const std::int64_t id = unfinished.getColumn(0).getInt64();
    const bool waits = unfinished.getColumn(1).getInt() != 0;
    if (waits || RunLock::is_held(id)) {
      found = true;
    } else {
      interrupted.push_back(id);
    }
  }
  for (const std::int64_t id : interrupted) {
    write_end(database, id, {result::kInterrupted, {}, "", ""});
  }
  return found;
}

std::map<std::int64_t, Run> mark_started(const std::vector<RunStart>& starts) {
  if (starts.empty()) {
    return {};
  }
  return in_transaction([&](SQLite::Database& database) {
    SQLite::Statement mark(
        database,
        "UPDATE runs SET started = coalesce(started, ?1), runner = ?3 WHERE id = ?2 "
        "AND ended IS NULL AND (started IS NULL OR runner = ?3)");
    std::map<std::int64_t, Run> runs;
    for (const RunStart& start : starts) {
      mark.reset();
      mark.bind(1, Clock::now());
      mark.bind(2, start.id);
      mark.bind(3, start.runner);
      if (mark.exec() != 0) {
        runs.emplace(start.id, find_run(database, start.id));
      }
    }
    return runs;
  });
}

std::optional<Run> mark_started(std::int64_t id, pid_t runner) {
  const auto runs = mark_started(std::vector<RunStart>{{id, runner}});
  return runs.empty() ? std::nullopt : std::optional(runs.at(id));
}

bool append_output(std::int64_t id, std::size_t position, std::string_view bytes) {
  try {
    with_store([&](SQLite::Database& database) {
      const Unhurried unhurried(database);
      insert_output(database, id, position, bytes);
    });
    return true;
  } catch (const StoreFailure& failure) {
    if (failure.code() != StoreError::kBusy) {
      throw;
    }
    return false;
  }
}

void end_run(std::int64_t id, const RunEnd& end) {
  end_runs({{id, end}});
}

void end_runs(const std::map<std::int64_t, RunEnd>& ends) {
  in_transaction([&](SQLite::Database& database) {
    for (const auto& [id, end] : ends) {
      write_end(database, id, end);
    }
    return true;
  });
}

Run load_run(std::int64_t id) {
  return with_store([&](SQLite::Database& database) { return find_run(database, id); });
}

std::string run_output(std::int64_t id, std::size_t position) {
  load_run(id);
  return with_store([&](SQLite::Database& database) {
    SQLite::Statement statement(database,
                                "SELECT position, bytes FROM run_output "
                                "WHERE run_id = ?1 AND position + length(bytes) > ?2 "
                                "ORDER BY position");
    statement.bind(1, id);
    statement.bind(2, static_cast<std::int64_t>(position));
    std::string output;
    while (statement.executeStep()) {
      const auto start = static_cast<std::size_t>(statement.getColumn(0).getInt64());
      const std::string bytes = statement.getColumn(1).getString();
      output += start < position ? bytes.substr(position - start) : bytes;
    }
    return output;
  });
}

std::vector<Run> latest_runs(std::optional<int> task_id, int limit) {
  return with_store([&](SQLite::Database& database) {
    SQLite::Statement statement(database, std::string(kSelectRuns) +
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

int trim_old_runs(std::int64_t now, int limit) {
  return with_store([&](SQLite::Database& database) {
    SQLite::Statement statement(
        database, "DELETE FROM runs WHERE id IN (SELECT id FROM runs WHERE ended < ? LIMIT ?)");
    statement.bind(1, now - setting("historyDays", 180, 1, 36500) * kDay);
    statement.bind(2, limit);
    return statement.exec();
  });
}

}  // namespace kavo
