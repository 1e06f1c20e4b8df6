#include "store/task_snapshot.h"

#include <algorithm>

#include "store/task_rows.h"

namespace kavo {

TaskSnapshot::TaskSnapshot() = default;

std::vector<TaskSummary> TaskSnapshot::summaries() const {
  return transaction_.read([](SQLite::Database& database) {
    // The index holds all that is asked for, in much less space than the table.
    SQLite::Statement row(database,
                          "SELECT id, enabled, listable, next_run FROM tasks "
                          "INDEXED BY tasks_in_lists ORDER BY id");
    std::vector<TaskSummary> summaries;
    while (row.executeStep()) {
      TaskSummary& summary = summaries.emplace_back();
      summary.id = row.getColumn(0).getInt();
      summary.enabled = row.getColumn(1).getInt() != 0;
      summary.listable = row.getColumn(2).getInt() != 0;
      if (!row.isColumnNull(3)) {
        summary.next_run = row.getColumn(3).getInt64();
      }
    }
    return summaries;
  });
}

std::vector<std::pair<int, std::string>> TaskSnapshot::texts(std::string Task::*member) const {
  return transaction_.read([&](SQLite::Database& database) {
    const auto* const column =
        std::find_if(kTextColumns.begin(), kTextColumns.end(),
                     [&](const TextColumn& text) { return text.member == member; });
    SQLite::Statement row(database,
                          std::string("SELECT id, ") + column->name + " FROM tasks ORDER BY id");
    std::vector<std::pair<int, std::string>> texts;
    while (row.executeStep()) {
      texts.emplace_back(row.getColumn(0).getInt(), row.getColumn(1).getString());
    }
    return texts;
  });
}

Task TaskSnapshot::task(int id) const {
  return transaction_.read([&](Database& database) { return find_task(database, id); });
}

}  // namespace kavo
