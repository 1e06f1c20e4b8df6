// The task store's file through SQLite alone: what nothing that uses SQLite can do without.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace bench {

// One row of the task list.
struct ListedTask {
  int id;
  std::int64_t next_run;
  bool enabled, can_run, can_edit, can_delete;
  std::string name, app, app_name, action, schedule;
};

// A connection with the durability of the store's own. Statements are prepared once. Every failure
// is a std::runtime_error.
class RawStore {
 public:
  explicit RawStore(const std::string& file);
  RawStore(const RawStore&) = delete;
  RawStore& operator=(const RawStore&) = delete;
  ~RawStore();

  // Runs a statement without rows, or steps through the rows of one, with integers bound.
  void run(const std::string& sql, std::initializer_list<std::int64_t> values = {});

  // The listable tasks, sorted by their next run.
  std::vector<ListedTask> list();

  // The transactions of the methods.
  void load(std::int64_t id);
  void set_enabled(std::int64_t id, bool enabled);
  void copy(std::int64_t id, std::int64_t new_id);
  void remove(std::int64_t id);
  void claim(std::int64_t id);

 private:
  sqlite3_stmt* prepared(const std::string& sql);

  sqlite3* database_ = nullptr;
  std::map<std::string, sqlite3_stmt*> statements_;
};

}  // namespace bench
