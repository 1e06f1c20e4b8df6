// The orders in which tasks are listed.
#pragma once

#include <string>
#include <vector>

#include "store/platform_task.h"

namespace kavo {

// Sorts the tasks of a list by a key, ascending: "state", "id", "app name", "name", "action" or
// "next trigger time". Ids and times compare by value, texts without regard to the case of ASCII
// letters and then by bytes, states on before off; no next time comes after every time; ties go by
// id. Throws StoreFailure, kInvalidArgument for any other key; the order is unchanged then.
void sort_tasks(std::vector<_tag_kavo_sched_task_*>& tasks, const std::string& key);

}  // namespace kavo
