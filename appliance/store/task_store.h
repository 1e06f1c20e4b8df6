// The stored tasks. All functions work on the calling thread's connection and throw StoreFailure.
#pragma once

#include <functional>
#include <vector>

#include "schedule/schedule.h"
#include "store/record.h"

namespace kavo {

// The stored task `id`, or a blank one for -1.
Task load_task(int id);

// Calls `take` with each stored task, by ascending id.
void for_each_task(const std::function<void(Task&&)>& take);

// Stores a record: a new task when its id is -1, else over the stored task of its id, of which the
// properties that were not set stay. The next run is worked out anew when the task is new, or when
// the schedule or the enabled flag has changed. Gives the record its id and next run.
void save_task(TaskRecord& record);

// Stores whole tasks in one transaction, all of them or none: a record of id -1 as a new task, any
// other under its own id, which no new task gets later. Gives the records their ids and next runs,
// which are worked out anew. An id that is stored already is refused (kBadInput), or its task is
// replaced, all properties at once.
enum class TakenIds { kRefuse, kReplace };
void insert_tasks(std::vector<TaskRecord>& records, TakenIds taken = TakenIds::kRefuse);

// Deletes a stored task. Its history stays.
void remove_task(int id);

// The schedule of a task, and its next run after a moment: none when the task is disabled or never
// due again.
Schedule schedule_of(const Task& task);
std::optional<std::int64_t> next_run_of(const Task& task, std::int64_t after);

// The next run as it is shown, "YYYY-MM-DD HH:MM" in the zone of the task's schedule, or "N/A".
std::string next_trigger_time(const Task& task, const Schedule& schedule);
std::string next_trigger_time(const Task& task);

}  // namespace kavo
