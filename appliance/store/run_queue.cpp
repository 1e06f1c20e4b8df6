#include "store/run_queue.h"

#include "store/run_rows.h"

namespace kavo {

void for_each_waiting(const std::function<bool(const WaitingRun&)>& take) {
  with_store([&](SQLite::Database& database) {
    SQLite::Statement statement(database,
                                "SELECT id, app, app_alone FROM runs "
                                "WHERE started IS NULL AND ended IS NULL ORDER BY queued, id");
    bool more = true;
    while (more && statement.executeStep()) {
      more = take({statement.getColumn(0).getInt64(), statement.getColumn(1).getString(),
                   statement.getColumn(2).getInt() != 0});
    }
  });
}

std::vector<Run> started_runs() {
  return with_store([&](SQLite::Database& database) {
    SQLite::Statement statement(
        database, std::string(kSelectRuns) + "WHERE ended IS NULL AND started IS NOT NULL");
    std::vector<Run> runs;
    while (statement.executeStep()) {
      runs.push_back(read_run(statement));
    }
    return runs;
  });
}

void settle_run(std::int64_t id) {
  const Run run = load_run(id);
  if (run.ended) {
    return;
  }
  end_run(id, run.started ? RunEnd{result::kInterrupted, {}, "", ""}
                          : RunEnd{result::kRefused,
                                   {},
                                   "The runner ended before it could start the command.",
                                   ""});
}

bool stop_waiting(std::int64_t id) {
  return in_transaction([&](SQLite::Database& database) {
    SQLite::Statement statement(
        database, "SELECT 1 FROM runs WHERE id = ? AND started IS NULL AND ended IS NULL");
    statement.bind(1, id);
    const bool waits = statement.executeStep();
    if (waits) {
      write_end(database, id, {result::kStopped, {}, "", ""});
    }
    return waits;
  });
}

}  // namespace kavo
