#include "store/converters.h"

#include <absl/time/time.h>
#include <strings.h>

#include <charconv>

#include "base/clock.h"
#include "schedule/schedule.h"
#include "schedule/zone.h"
#include "store/json_text.h"
#include "store/task_store.h"

namespace kavo {
namespace {

constexpr std::size_t kMaxDocumentBytes = 1 << 20;
constexpr int kOfferedMinutes[] = {1, 2, 3, 5, 10, 15, 20, 30};
constexpr int kOfferedHours[] = {1, 2, 3, 4, 6, 8, 12};

StoreFailure bad_input(const std::string& message, SourcePlace place = SourcePlace::here()) {
  return {StoreError::kBadInput, message, place};
}

// A section of the document. A missing one counts as empty.
const Json::Value& section(const Json::Value& doc, const char* name) {
  if (!doc.isNull() && !doc.isObject()) {
    throw bad_input("The document is not an object.");
  }
  const Json::Value& value = doc[name];
  if (!value.isNull() && !value.isObject()) {
    throw bad_input(std::string("The section \"") + name + "\" is not an object.");
  }
  if (compact_text(doc).size() > kMaxDocumentBytes) {
    throw bad_input("The document is larger than 1 MiB.");
  }
  return value;
}

// A text member, or `fallback` when it is null or missing.
std::string text_member(const Json::Value& section, const char* name, const char* fallback) {
  const Json::Value& value = section[name];
  if (value.isNull()) {
    return fallback;
  }
  if (!value.isString()) {
    throw bad_input(std::string("\"") + name + "\" is not a text.");
  }
  return value.asString();
}

int id_member(const Json::Value& section) {
  const Json::Value& value = section["id"];
  if (value.isInt() && value.type() != Json::realValue) {
    return value.asInt();
  }
  const std::string text = text_member(section, "id", "-1");
  int id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw bad_input("\"id\" is not a task's number: \"" + text + "\".");
  }
  return id;
}

bool enabled_member(const Json::Value& section) {
  const std::string text = text_member(section, "enabled", "on");
  if (strcasecmp(text.c_str(), "on") != 0 && strcasecmp(text.c_str(), "off") != 0) {
    throw bad_input("\"enabled\" is neither \"on\" nor \"off\": \"" + text + "\".");
  }
  return strcasecmp(text.c_str(), "on") == 0;
}

// Today in the zone that a schedule names, or in the appliance's.
absl::CivilDay today_of(const Json::Value& schedule) {
  absl::TimeZone zone = appliance_zone();
  const Json::Value& name = schedule["timezone"];
  if (name.isString()) {
    load_zone(name.asString(), zone);
  }
  return absl::ToCivilDay(absl::FromUnixSeconds(Clock::now()), zone);
}

template <typename Numbers>
Json::Value array_of(const Numbers& numbers) {
  Json::Value array(Json::arrayValue);
  for (const int number : numbers) {
    array.append(number);
  }
  return array;
}

}  // namespace

Json::Value basic_section(const Task& task) {
  Json::Value basic(Json::objectValue);
  basic["id"] = task.id;
  basic["task_name"] = task.name;
  basic["owner"] = task.owner;
  basic["enabled"] = task.enabled ? "on" : "off";
  basic["app"] = task.app;
  basic["action"] = task.action;
  basic["can_edit_name"] = task.can_edit_name;
  return basic;
}

Json::Value schedule_section(const Task& task) {
  const Schedule stored = schedule_of(task);
  Json::Value schedule = print_schedule(stored);
  schedule["repeat_min_store_config"] = array_of(kOfferedMinutes);
  schedule["repeat_hour_store_config"] = array_of(kOfferedHours);
  schedule["next_trigger_time"] = next_trigger_time(task, stored);
  return schedule;
}

void set_basic(const Json::Value& doc, TaskRecord& record) {
  const Json::Value& basic = section(doc, "basic");
  TaskRecord changed = record;
  changed.set_id(id_member(basic));
  changed.set(&Task::name, text_member(basic, "task_name", ""));
  changed.set(&Task::owner, text_member(basic, "owner", "root"));
  changed.set(&Task::enabled, enabled_member(basic));
  record = changed;
}

void set_schedule(const Json::Value& doc, TaskRecord& record) {
  const Json::Value& members = section(doc, "schedule");
  std::string error;
  const auto schedule = parse_schedule(members, today_of(members), error);
  if (!schedule) {
    throw bad_input(error);
  }
  record.set(&Task::schedule, compact_text(print_schedule(*schedule)));
}

}  // namespace kavo
