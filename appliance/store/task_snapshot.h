// The stored tasks as they were at one moment, for lists: few of the tasks that are counted and
// sorted are shown, and only of those everything is read.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "store/database.h"
#include "store/record.h"

namespace kavo {

// What a list knows of every task.
struct TaskSummary {
  int id = -1;
  bool enabled = true;
  bool listable = true;
  std::optional<std::int64_t> next_run;
};

// One state of the store, however long after it is read and whatever was written meanwhile. As its
// reading keeps SQLite from reusing the space of what was replaced, it is not kept for long. Used
// by one thread at a time, and not in a child of the process that made it. All functions throw
// StoreFailure.
class TaskSnapshot {
 public:
  TaskSnapshot();

  // By ascending id.
  std::vector<TaskSummary> summaries() const;
  // One text of every task, with the id, by ascending id.
  std::vector<std::pair<int, std::string>> texts(std::string Task::*member) const;
  Task task(int id) const;

 private:
  ReadTransaction transaction_;
};

}  // namespace kavo
