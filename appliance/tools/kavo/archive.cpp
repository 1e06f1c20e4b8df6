// All tasks as one JSON document, {"version": 1, "tasks": [...]}, and back. A task has every
// property that is stored, its schedule as an object. What follows from them is not in it. And the
// whole store as one file.

#include <set>

#include "base/strict_json.h"
#include "store/backup.h"
#include "store/converters.h"
#include "store/task_store.h"
#include "tools/kavo/commands.h"
#include "tools/kavo/input.h"
#include "tools/kavo/json_output.h"

namespace kavo {
namespace {

constexpr int kVersion = 1;
constexpr std::size_t kMaxArchiveBytes = std::size_t{1} << 30;
// Ids are never given twice and end at 2^31 - 1: a document must not use them up.
constexpr int kMaxId = 2'000'000'000;

StoreFailure refusal(const std::string& message) {
  return {StoreError::kBadInput, message};
}

Json::Value archived(const Task& task) {
  Json::Value json;
  json["id"] = task.id;
  for (const TextColumn& column : kTextColumns) {
    json[column.name] = task.*column.member;
  }
  for (const FlagColumn& column : kFlagColumns) {
    json[column.name] = task.*column.member;
  }
  json["schedule"] = print_schedule(schedule_of(task));
  return json;
}

bool is_integer(const Json::Value& value) {
  return (value.type() == Json::intValue || value.type() == Json::uintValue) && value.isInt();
}

int read_id(const Json::Value& json) {
  const Json::Value& id = json["id"];
  if (!is_integer(id) || id.asInt() < 1 || id.asInt() > kMaxId) {
    throw refusal("\"id\" is not a number from 1 to " + std::to_string(kMaxId) + ".");
  }
  return id.asInt();
}

// A member that has to be there, of the type that `is_right` (a member function) asks for.
const Json::Value& read_member(const Json::Value& json, const char* name,
                               bool (Json::Value::*is_right)() const, const char* expected) {
  const Json::Value& value = json[name];
  if (!(value.*is_right)()) {
    throw refusal("\"" + std::string(name) + "\" is missing, or is not " + expected + ".");
  }
  return value;
}

// A task is refused for a member that is missing or not known, too: something would be lost.
TaskRecord read_task(const Json::Value& json) {
  if (!json.isObject()) {
    throw refusal("It is not an object.");
  }
  TaskRecord record;
  record.set_id(read_id(json));
  for (const TextColumn& column : kTextColumns) {
    if (column.member == &Task::schedule) {
      Json::Value doc;
      doc["schedule"] = read_member(json, column.name, &Json::Value::isObject, "an object");
      set_schedule(doc, record);
    } else {
      record.set(column.member,
                 read_member(json, column.name, &Json::Value::isString, "a text").asString());
    }
  }
  for (const FlagColumn& column : kFlagColumns) {
    record.set(column.member,
               read_member(json, column.name, &Json::Value::isBool, "true or false").asBool());
  }
  if (json.size() != 1 + kTextColumns.size() + kFlagColumns.size()) {
    throw refusal("It has a member that is not known.");
  }
  return record;
}

std::vector<TaskRecord> read_tasks(const Json::Value& tasks) {
  std::vector<TaskRecord> records;
  std::set<int> ids;
  for (Json::ArrayIndex i = 0; i < tasks.size(); ++i) {
    try {
      records.push_back(read_task(tasks[i]));
      const int id = records.back().task().id;
      if (!ids.insert(id).second) {
        throw refusal("The id " + std::to_string(id) + " is there twice.");
      }
    } catch (const StoreFailure& failure) {
      throw refusal("Nothing is imported. Task " + std::to_string(i + 1) +
                    " of the document cannot be stored: " + failure.what());
    }
  }
  return records;
}

}  // namespace

int export_tasks() {
  Json::Value document;
  document["version"] = kVersion;
  Json::Value& tasks = document["tasks"] = Json::Value(Json::arrayValue);
  for_each_task([&](Task&& task) { tasks.append(archived(task)); });
  print_json(document);
  return 0;
}

int back_up(const std::string& file) {
  back_up_store(file);
  return 0;
}

int import_tasks(const std::string& file, bool replace) {
  std::string error;
  const auto document = parse_strict_json(read_input(file, kMaxArchiveBytes), &error);
  if (!document) {
    throw refusal("Nothing is imported. It is not a JSON document: " + error);
  }
  if (!document->isObject() || !(*document)["tasks"].isArray() || document->size() != 2) {
    throw refusal("Nothing is imported. It is not a document of exported tasks.");
  }
  const Json::Value& version = (*document)["version"];
  if (!is_integer(version) || version.asInt() != kVersion) {
    throw refusal("Nothing is imported. Its version is not " + std::to_string(kVersion) + ".");
  }
  std::vector<TaskRecord> records = read_tasks((*document)["tasks"]);
  insert_tasks(records, replace ? TakenIds::kReplace : TakenIds::kRefuse);
  std::cout << records.size() << (records.size() == 1 ? " task\n" : " tasks\n");
  return 0;
}

}  // namespace kavo
