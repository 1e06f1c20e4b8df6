#include "store/sort.h"

#include <strings.h>

#include <algorithm>
#include <functional>
#include <limits>

namespace kavo {
namespace {

using Tasks = std::vector<_tag_kavo_sched_task_*>;

// Negative, zero or positive, as the texts compare without regard to case and then by bytes.
int compare(const std::string& a, const std::string& b) {
  const int folded = strcasecmp(a.c_str(), b.c_str());
  return folded != 0 ? folded : a.compare(b);
}

int compare(std::int64_t a, std::int64_t b) {
  return a == b ? 0 : (a < b ? -1 : 1);
}

// Sorts by the value that `value_of` gives for a task.
template <typename Value>
void sort_by(Tasks& tasks, const std::function<Value(const _tag_kavo_sched_task_&)>& value_of) {
  struct Entry {
    Value value;
    int id;
    _tag_kavo_sched_task_* task;
  };
  std::vector<Entry> entries;
  entries.reserve(tasks.size());
  for (_tag_kavo_sched_task_* task : tasks) {
    entries.push_back({value_of(*task), task->summary().id, task});
  }
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    const int compared = compare(a.value, b.value);
    return compared != 0 ? compared < 0 : a.id < b.id;
  });
  std::transform(entries.begin(), entries.end(), tasks.begin(),
                 [](const Entry& entry) { return entry.task; });
}

std::int64_t id_of(const _tag_kavo_sched_task_& task) {
  return task.summary().id;
}

std::int64_t state_of(const _tag_kavo_sched_task_& task) {
  return task.summary().enabled ? 0 : 1;
}

std::int64_t next_run_or_never(const _tag_kavo_sched_task_& task) {
  return task.summary().next_run.value_or(std::numeric_limits<std::int64_t>::max());
}

void sort_by_number(Tasks& tasks, std::int64_t (*number_of)(const _tag_kavo_sched_task_&)) {
  sort_by<std::int64_t>(tasks, number_of);
}

// One text of all tasks is read at once; the records stay unread.
void sort_by_text(Tasks& tasks, std::string Task::*member) {
  const auto unread = std::find_if(tasks.begin(), tasks.end(),
                                   [](const auto* task) { return task->unread() != nullptr; });
  std::vector<std::pair<int, std::string>> texts;
  if (unread != tasks.end()) {
    texts = (*unread)->unread()->texts(member);
  }
  sort_by<std::string>(tasks, [&](const _tag_kavo_sched_task_& task) {
    if (task.unread() == nullptr) {
      return task.record().task().*member;
    }
    const std::pair wanted(task.summary().id, std::string());
    return std::lower_bound(texts.begin(), texts.end(), wanted)->second;
  });
}

}  // namespace

void sort_tasks(Tasks& tasks, const std::string& key) {
  if (key == "id") {
    sort_by_number(tasks, id_of);
  } else if (key == "state") {
    sort_by_number(tasks, state_of);
  } else if (key == "next trigger time") {
    sort_by_number(tasks, next_run_or_never);
  } else if (key == "name") {
    sort_by_text(tasks, &Task::name);
  } else if (key == "app name") {
    sort_by_text(tasks, &Task::app_name);
  } else if (key == "action") {
    sort_by_text(tasks, &Task::action);
  } else {
    throw StoreFailure(StoreError::kInvalidArgument, "There is no sort key \"" + key + "\".");
  }
}

}  // namespace kavo
