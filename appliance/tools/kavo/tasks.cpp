#include <absl/time/time.h>

#include "base/clock.h"
#include "schedule/zone.h"
#include "store/converters.h"
#include "store/task_store.h"
#include "tools/kavo/commands.h"
#include "tools/kavo/json_output.h"
#include "tools/kavo/table.h"

namespace kavo {
namespace {

// A stored task: load_task() also answers a blank one for -1, which is of no use here.
Task stored_task(int id) {
  if (id < 1) {
    throw UsageError("A task's number is 1 or more.");
  }
  return load_task(id);
}

std::string yes_no(bool value) {
  return value ? "yes" : "no";
}

Json::Value task_json(const Task& task) {
  Json::Value json;
  json["id"] = task.id;
  for (const TextColumn& column : kTextColumns) {
    json[column.name] = task.*column.member;
  }
  for (const FlagColumn& column : kFlagColumns) {
    json[column.name] = task.*column.member;
  }
  json["schedule"] = schedule_section(task);
  json["next_run"] = task.next_run ? Json::Value(Json::Int64(*task.next_run)) : Json::Value();
  return json;
}

}  // namespace

int list_tasks(bool json) {
  Json::Value tasks(Json::arrayValue);
  std::vector<std::vector<std::string>> rows = {
      {"ID", "ENABLED", "NAME", "OWNER", "NEXT RUN", "COMMAND"}};
  for_each_task([&](Task&& task) {
    if (json) {
      tasks.append(task_json(task));
    } else {
      rows.push_back({std::to_string(task.id), yes_no(task.enabled), task.name, task.owner,
                      next_trigger_time(task), task.command});
    }
  });
  if (json) {
    print_json(tasks);
  } else {
    print_table(rows);
  }
  return 0;
}

int show_task(int id, bool json) {
  const Task task = stored_task(id);
  if (json) {
    print_json(task_json(task));
    return 0;
  }
  std::vector<std::vector<std::string>> rows = {{"PROPERTY", "VALUE"},
                                                {"id", std::to_string(task.id)}};
  for (const TextColumn& column : kTextColumns) {
    rows.push_back({column.name, task.*column.member});
  }
  for (const FlagColumn& column : kFlagColumns) {
    rows.push_back({column.name, yes_no(task.*column.member)});
  }
  rows.push_back({"next run", next_trigger_time(task)});
  print_table(rows);
  return 0;
}

int show_next_runs(int id, int count, bool json) {
  const Task task = stored_task(id);
  const Schedule schedule = schedule_of(task);
  const absl::TimeZone zone = schedule_zone(schedule);
  Json::Value moments(Json::arrayValue);
  std::vector<std::vector<std::string>> rows = {{"NEXT RUN"}};
  std::int64_t after = Clock::now();
  for (int i = 0; i < count; ++i) {
    const auto next = next_run_of(task, after);
    if (!next) {
      break;
    }
    moments.append(Json::Int64(*next));
    rows.push_back({absl::FormatTime("%Y-%m-%d %H:%M:%S %Z", absl::FromUnixSeconds(*next), zone)});
    after = *next;
  }
  if (json) {
    print_json(moments);
  } else {
    print_table(rows);
  }
  return 0;
}

int remove_tasks(const std::vector<int>& ids) {
  for (const int id : ids) {
    remove_task(id);
  }
  return 0;
}

}  // namespace kavo
