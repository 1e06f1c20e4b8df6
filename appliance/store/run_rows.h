// The rows of runs, for the store's own functions: inside a transaction of theirs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "store/database.h"
#include "store/record.h"
#include "store/run_store.h"

namespace kavo {

// The columns that read_run() reads, and the table: "SELECT ... FROM runs ".
extern const char kSelectRuns[];
Run read_run(SQLite::Statement& row);
Run find_run(SQLite::Database& database, std::int64_t id);

// Inserts a waiting run of a task. Its id.
std::int64_t insert_run(Database& database, const Task& task, int time_limit,
                        const std::string& cause, std::optional<std::int64_t> due,
                        std::int64_t queued);

// Ends a run now, if it has not ended, and deletes what is too much of its task's history: beyond
// "historyRuns" of the configuration (default 100, 1 to 1000000).
void write_end(SQLite::Database& database, std::int64_t id, const RunEnd& end);

// Whether a run of the task waits or goes on. Marks those that only seem to as interrupted.
bool has_unfinished_run(SQLite::Database& database, int task_id);

}  // namespace kavo
