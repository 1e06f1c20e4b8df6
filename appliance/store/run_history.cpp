#include "store/run_history.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "store/run_rows.h"

namespace kavo {
namespace {

constexpr std::array kResults = {result::kOk,      result::kExitCode,  result::kSignal,
                                 result::kStopped, result::kTimeLimit, result::kInterrupted,
                                 result::kMissed,  result::kSkipped,   result::kRefused};

// As with_store, in a transaction that only reads: all of one state of the store.
template <typename Operation>
auto reading(Operation operation) {
  return with_store([&](SQLite::Database& database) {
    const SQLite::Transaction transaction(database);
    return operation(database);
  });
}

std::int64_t revision(SQLite::Database& database) {
  return database.execAndGet("SELECT value FROM revision").getInt64();
}

// The condition of a filter, with the named values :task and :result.
std::string condition_of(const RunFilter& filter) {
  std::string condition = filter.task_id ? "task_id = :task" : "1";
  if (filter.standing == result::kWaiting) {
    condition += " AND ended IS NULL AND started IS NULL";
  } else if (filter.standing == result::kRunning) {
    condition += " AND ended IS NULL AND started IS NOT NULL";
  } else if (filter.standing) {
    condition += " AND result = :result";
  }
  return condition;
}

void bind_filter(SQLite::Statement& statement, const RunFilter& filter) {
  if (filter.task_id) {
    statement.bind(":task", *filter.task_id);
  }
  if (filter.standing && filter.standing != result::kWaiting &&
      filter.standing != result::kRunning) {
    statement.bind(":result", *filter.standing);
  }
}

}  // namespace

std::string standing(const Run& run) {
  if (run.ended) {
    return run.result;
  }
  return run.started ? result::kRunning : result::kWaiting;
}

bool is_standing(const std::string& name) {
  return name == result::kWaiting || name == result::kRunning ||
         std::any_of(kResults.begin(), kResults.end(),
                     [&](const char* one) { return name == one; });
}

Runs find_runs(const RunFilter& filter, int offset, int limit) {
  return reading([&](SQLite::Database& database) {
    Runs found;
    found.revision = revision(database);
    const std::string condition = condition_of(filter);
    SQLite::Statement count(database, "SELECT count(*) FROM runs WHERE " + condition);
    bind_filter(count, filter);
    count.executeStep();
    found.total = count.getColumn(0).getInt64();

    SQLite::Statement page(database, std::string(kSelectRuns) + "WHERE " + condition +
                                         " ORDER BY id DESC LIMIT :limit OFFSET :offset");
    bind_filter(page, filter);
    page.bind(":limit", limit);
    page.bind(":offset", offset);
    while (page.executeStep()) {
      found.runs.push_back(read_run(page));
    }
    return found;
  });
}

Newest newest_runs(const std::vector<int>& task_ids, std::optional<std::int64_t> known) {
  return reading([&](SQLite::Database& database) {
    Newest found;
    found.revision = revision(database);
    if (known == found.revision) {
      return found;
    }
    SQLite::Statement newest(
        database, std::string(kSelectRuns) + "WHERE task_id = ? ORDER BY id DESC LIMIT 1");
    SQLite::Statement next(
        database, "SELECT next_run FROM tasks WHERE id = ? AND enabled AND next_run IS NOT NULL");
    for (const int task_id : task_ids) {
      newest.reset();
      newest.bind(1, task_id);
      if (newest.executeStep()) {
        found.runs.push_back(read_run(newest));
      }
      next.reset();
      next.bind(1, task_id);
      if (next.executeStep()) {
        found.due[task_id] = next.getColumn(0).getInt64();
      }
    }
    found.total = static_cast<std::int64_t>(found.runs.size());
    return found;
  });
}

RunOutput read_output(std::int64_t id, std::size_t position, std::size_t limit) {
  return reading([&](SQLite::Database& database) {
    SQLite::Statement run(database,
                          "SELECT ended IS NOT NULL, (SELECT position + length(bytes) FROM "
                          "run_output WHERE run_id = id ORDER BY position DESC LIMIT 1) "
                          "FROM runs WHERE id = ?");
    run.bind(1, id);
    if (!run.executeStep()) {
      throw StoreFailure(StoreError::kNoSuchRun, "There is no run " + std::to_string(id) + ".");
    }
    RunOutput output;
    output.ended = run.getColumn(0).getInt() != 0;
    output.size = static_cast<std::size_t>(run.getColumn(1).getInt64());

    SQLite::Statement pieces(database,
                             "SELECT position, bytes FROM run_output WHERE run_id = ?1 "
                             "AND position < ?2 + ?3 AND position + length(bytes) > ?2 "
                             "ORDER BY position");
    pieces.bind(1, id);
    pieces.bind(2, static_cast<std::int64_t>(position));
    pieces.bind(3, static_cast<std::int64_t>(limit));
    while (pieces.executeStep() && output.bytes.size() < limit) {
      const auto start = static_cast<std::size_t>(pieces.getColumn(0).getInt64());
      const SQLite::Column column = pieces.getColumn(1);
      std::string_view bytes(static_cast<const char*>(column.getBlob()),
                             static_cast<std::size_t>(column.getBytes()));
      bytes.remove_prefix(position > start ? position - start : 0);
      output.bytes += bytes.substr(0, limit - output.bytes.size());
    }
    return output;
  });
}

}  // namespace kavo
