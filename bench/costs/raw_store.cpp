#include "costs/raw_store.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

namespace bench {
namespace {

std::string text(sqlite3_stmt* row, int column) {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(row, column))};
}

ListedTask listed_task(sqlite3_stmt* row) {
  const auto flag = [&](int column) { return sqlite3_column_int(row, column) != 0; };
  return {sqlite3_column_int(row, 0),
          sqlite3_column_int64(row, 1),
          flag(2),
          flag(3),
          flag(4),
          flag(5),
          text(row, 6),
          text(row, 7),
          text(row, 8),
          text(row, 9),
          text(row, 10)};
}

}  // namespace

RawStore::RawStore(const std::string& file) {
  if (sqlite3_open(file.c_str(), &database_) != SQLITE_OK) {
    throw std::runtime_error("cannot open " + file);
  }
  sqlite3_busy_timeout(database_, 5000);
  run("PRAGMA journal_mode = WAL");
  run("PRAGMA synchronous = FULL");
}

RawStore::~RawStore() {
  for (const auto& [sql, statement] : statements_) {
    sqlite3_finalize(statement);
  }
  sqlite3_close(database_);
}

sqlite3_stmt* RawStore::prepared(const std::string& sql) {
  sqlite3_stmt*& statement = statements_[sql];
  if (statement == nullptr &&
      sqlite3_prepare_v2(database_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sql + ": " + sqlite3_errmsg(database_));
  }
  return statement;
}

void RawStore::run(const std::string& sql, std::initializer_list<std::int64_t> values) {
  sqlite3_stmt* statement = prepared(sql);
  int place = 0;
  for (const std::int64_t value : values) {
    sqlite3_bind_int64(statement, ++place, value);
  }
  int result = sqlite3_step(statement);
  while (result == SQLITE_ROW) {
    result = sqlite3_step(statement);
  }
  sqlite3_reset(statement);
  if (result != SQLITE_DONE) {
    throw std::runtime_error(sql + ": " + sqlite3_errmsg(database_));
  }
}

std::vector<ListedTask> RawStore::list() {
  sqlite3_stmt* statement = prepared(
      "SELECT id, next_run, enabled, can_run_from_ui, can_edit_from_ui, can_delete_from_ui, name, "
      "app, app_name, action, schedule FROM tasks WHERE listable");
  std::vector<ListedTask> tasks;
  while (sqlite3_step(statement) == SQLITE_ROW) {
    tasks.push_back(listed_task(statement));
  }
  sqlite3_reset(statement);
  std::sort(tasks.begin(), tasks.end(), [](const ListedTask& a, const ListedTask& b) {
    return std::tuple(a.next_run, a.id) < std::tuple(b.next_run, b.id);
  });
  return tasks;
}

void RawStore::load(std::int64_t id) {
  run("SELECT * FROM tasks WHERE id = ?", {id});
}

void RawStore::set_enabled(std::int64_t id, bool enabled) {
  run("BEGIN IMMEDIATE");
  load(id);
  run("UPDATE tasks SET enabled = ?, next_run = ? WHERE id = ?",
      {enabled ? 1 : 0, enabled ? 1900000000 : 1900000060, id});
  run("COMMIT");
}

void RawStore::copy(std::int64_t id, std::int64_t new_id) {
  run("BEGIN IMMEDIATE");
  run("INSERT INTO tasks SELECT ?2, name, owner, app, app_name, app_args, action, command, "
      "edit_form, enabled, simple_edit_form, can_edit_name, can_edit_owner, "
      "can_run_app_same_time, can_run_task_same_time, listable, can_run_from_ui, "
      "can_edit_from_ui, can_delete_from_ui, schedule, next_run FROM tasks WHERE id = ?1",
      {id, new_id});
  run("COMMIT");
}

void RawStore::remove(std::int64_t id) {
  run("DELETE FROM tasks WHERE id = ?", {id});
}

void RawStore::claim(std::int64_t id) {
  run("BEGIN IMMEDIATE");
  run("INSERT INTO runs (task_id, task_name, owner, command, app, app_alone, time_limit, cause, "
      "queued) SELECT id, name, owner, command, app, 0, 0, 'manual', 1900000000 FROM tasks "
      "WHERE id = ?",
      {id});
  run("COMMIT");
}

}  // namespace bench
