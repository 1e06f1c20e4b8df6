#include "store/task_store.h"

#include <absl/time/time.h>
#include <json/reader.h>

#include <algorithm>
#include <utility>

#include "base/clock.h"
#include "schedule/zone.h"
#include "store/database.h"
#include "store/json_text.h"
#include "store/task_rows.h"
#include "store/wake_up.h"

namespace kavo {
namespace {

// The columns of a task but for id and next_run, in the order of kTextColumns and kFlagColumns.
std::string column_names(const char* suffix) {
  std::string names;
  for (const TextColumn& column : kTextColumns) {
    names += std::string(names.empty() ? "" : ", ") + column.name + suffix;
  }
  for (const FlagColumn& column : kFlagColumns) {
    names += std::string(", ") + column.name + suffix;
  }
  return names;
}

constexpr int kColumns = static_cast<int>(kTextColumns.size() + kFlagColumns.size());

// Binds the columns of column_names() from 1 on, then the next run.
void bind_task(SQLite::Statement& statement, const Task& task) {
  int column = 1;
  for (const TextColumn& text : kTextColumns) {
    statement.bind(column++, task.*text.member);
  }
  for (const FlagColumn& flag : kFlagColumns) {
    statement.bind(column++, task.*flag.member ? 1 : 0);
  }
  if (task.next_run) {
    statement.bind(column, *task.next_run);
  } else {
    statement.bind(column);
  }
}

// It replaces a stored task of the same id.
std::string insert_sql() {
  std::string marks;
  for (int i = 0; i < kColumns; ++i) {
    marks += "?, ";
  }
  return "INSERT OR REPLACE INTO tasks (" + column_names("") + ", next_run, id) VALUES (" + marks +
         "?, ?)";
}

// The id under which the task is stored now: its own, or a new one for -1.
int insert_task(Database& database, const Task& task) {
  static const std::string sql = insert_sql();
  const PreparedUse insert = database.prepared(sql);
  bind_task(*insert, task);
  if (task.id != -1) {
    insert->bind(kColumns + 2, task.id);
  }
  insert->exec();
  return static_cast<int>(database.getLastInsertRowid());
}

void update_task(Database& database, const Task& task) {
  static const std::string sql =
      "UPDATE tasks SET " + column_names(" = ?") + ", next_run = ? WHERE id = ?";
  const PreparedUse statement = database.prepared(sql);
  bind_task(*statement, task);
  statement->bind(kColumns + 2, task.id);
  statement->exec();
}

bool is_stored(Database& database, int id) {
  SQLite::Statement statement(database, "SELECT 1 FROM tasks WHERE id = ?");
  statement.bind(1, id);
  return statement.executeStep();
}

// A whole task as it is stored. What its schedule leaves out is settled now: a first day of "today"
// stays this day.
Task settled(Task task) {
  task.schedule = compact_text(print_schedule(schedule_of(task)));
  task.next_run = next_run_of(task, Clock::now());
  return task;
}

void require_usable(const TaskRecord& record) {
  if (record.refusal()) {
    throw *record.refusal();
  }
}

absl::CivilDay today() {
  return absl::ToCivilDay(absl::FromUnixSeconds(Clock::now()), appliance_zone());
}

}  // namespace

const std::string& select_tasks() {
  static const std::string sql = "SELECT id, next_run, " + column_names("") + " FROM tasks";
  return sql;
}

Task read_task(SQLite::Statement& row) {
  Task task;
  task.id = row.getColumn(0).getInt();
  if (!row.isColumnNull(1)) {
    task.next_run = row.getColumn(1).getInt64();
  }
  int column = 2;
  for (const TextColumn& text : kTextColumns) {
    task.*text.member = row.getColumn(column++).getString();
  }
  for (const FlagColumn& flag : kFlagColumns) {
    task.*flag.member = row.getColumn(column++).getInt() != 0;
  }
  return task;
}

Task find_task(Database& database, int id) {
  static const std::string sql = select_tasks() + " WHERE id = ?";
  const PreparedUse statement = database.prepared(sql);
  statement->bind(1, id);
  if (!statement->executeStep()) {
    throw StoreFailure(StoreError::kNoSuchTask, "There is no task " + std::to_string(id) + ".");
  }
  return read_task(*statement);
}

Task load_task(int id) {
  if (id == -1) {
    return Task();
  }
  return with_store([&](Database& database) { return find_task(database, id); });
}

void for_each_task(const std::function<void(Task&&)>& take) {
  with_store([&](Database& database) {
    SQLite::Statement statement(database, select_tasks() + " ORDER BY id");
    while (statement.executeStep()) {
      take(read_task(statement));
    }
  });
}

void save_task(TaskRecord& record) {
  require_usable(record);
  bool due_time_changed = true;
  const Task saved = in_transaction([&](Database& database) {
    const int id = record.task().id;
    if (id == -1) {
      Task task = settled(record.task());
      task.id = insert_task(database, task);
      return task;
    }
    const Task stored = find_task(database, id);
    Task task = stored;
    record.apply_to(task);
    if (task.enabled != stored.enabled || task.schedule != stored.schedule) {
      task.next_run = next_run_of(task, Clock::now());
    }
    due_time_changed = task.next_run != stored.next_run;
    update_task(database, task);
    return task;
  });
  if (due_time_changed) {
    wake_scheduler();
  }
  record.saved(saved.id, saved.next_run);
}

void insert_tasks(std::vector<TaskRecord>& records, TakenIds taken) {
  std::for_each(records.begin(), records.end(), require_usable);
  const auto stored = in_transaction([&](Database& database) {
    std::vector<std::pair<int, std::optional<std::int64_t>>> ids_and_next_runs;
    for (const TaskRecord& record : records) {
      const int id = record.task().id;
      if (id != -1 && taken == TakenIds::kRefuse && is_stored(database, id)) {
        throw StoreFailure(StoreError::kBadInput, "Nothing is stored: there is a task " +
                                                      std::to_string(id) + " already.");
      }
      const Task task = settled(record.task());
      ids_and_next_runs.emplace_back(insert_task(database, task), task.next_run);
    }
    return ids_and_next_runs;
  });
  wake_scheduler();
  for (std::size_t i = 0; i < records.size(); ++i) {
    records[i].saved(stored[i].first, stored[i].second);
  }
}

void remove_task(int id) {
  const int removed = with_store([&](Database& database) {
    const PreparedUse statement = database.prepared("DELETE FROM tasks WHERE id = ?");
    statement->bind(1, id);
    return statement->exec();
  });
  if (removed == 0) {
    throw StoreFailure(StoreError::kNoSuchTask, "There is no task " + std::to_string(id) + ".");
  }
}

Schedule schedule_of(const Task& task) {
  std::string error;
  const auto schedule = parse_schedule(parse_text(task.schedule), today(), error, ZoneNames::kAny);
  if (!schedule) {
    throw StoreFailure(StoreError::kCorrupt, "The schedule of task " + std::to_string(task.id) +
                                                 " cannot be read: " + error);
  }
  return *schedule;
}

std::optional<std::int64_t> next_run_of(const Task& task, std::int64_t after) {
  if (!task.enabled) {
    return std::nullopt;
  }
  const Schedule schedule = schedule_of(task);
  return next_run(schedule, schedule_zone(schedule), after);
}

std::string next_trigger_time(const Task& task, const Schedule& schedule) {
  if (!task.next_run) {
    return "N/A";
  }
  return absl::FormatTime("%Y-%m-%d %H:%M", absl::FromUnixSeconds(*task.next_run),
                          schedule_zone(schedule));
}

std::string next_trigger_time(const Task& task) {
  return task.next_run ? next_trigger_time(task, schedule_of(task)) : "N/A";
}

}  // namespace kavo
