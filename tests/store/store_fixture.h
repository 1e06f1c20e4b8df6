// A store in a folder of its own, reached through the platform's operations.
#pragma once

#include <gmock/gmock.h>
#include <json/json.h>
#include <kavosched.h>
#include <xlibc.h>

#include <memory>
#include <string>
#include <vector>

#include "store/failure.h"
#include "temporary_folder.h"

struct FreeTask {
  void operator()(_tag_kavo_sched_task_* task) const { KAVOSchedTaskFree(task); }
};
using TaskPtr = std::unique_ptr<_tag_kavo_sched_task_, FreeTask>;

inline TaskPtr new_task() {
  return TaskPtr(KAVOSchedTaskAlloc());
}

inline Json::Value json(const std::string& text) {
  Json::Value value;
  if (!Json::Reader().parse(text, value)) throw std::invalid_argument(text);
  return value;
}

inline int last_error() {
  return XLIBCErrGet();
}

class StoreTest : public testing::Test {
 protected:
  void SetUp() override { XLIBCErrSetEx(0, "", 0); }

  // Stores a task; its id.
  static int store(const std::string& name, const std::string& command = "true",
                   const std::string& schedule = "{}") {
    const TaskPtr task = new_task();
    Json::Value basic;
    basic["task_name"] = name;
    EXPECT_TRUE(set_basic(*task, basic) && set_schedule(*task, json(schedule)));
    KAVOSchedCTaskSetCommand(task.get(), command.c_str());
    save(task);
    return KAVOSchedTaskGetID(*task);
  }

  static TaskPtr load(int id) {
    TaskPtr task = new_task();
    EXPECT_EQ(KAVOSchedTaskLoad(id, task.get()), 0);
    return task;
  }

  static void save(const TaskPtr& task) { EXPECT_EQ(KAVOSchedTaskSave(task.get()), 0); }
  static bool set_basic(_tag_kavo_sched_task_& task, const Json::Value& section) {
    Json::Value doc;
    doc["basic"] = section;
    return KAVOSchedTaskConvertFromJson_Basic(doc, task);
  }
  static bool set_schedule(_tag_kavo_sched_task_& task, const Json::Value& section) {
    Json::Value doc;
    doc["schedule"] = section;
    return KAVOSchedTaskConvertFromJson_Schedule(doc, task);
  }
  // The names of all tasks in the order of a sort key.
  static std::string sorted(const char* key = "id", int ascending = 1) {
    _tag_kavo_sched_task_* head = nullptr;
    EXPECT_GE(KAVOSchedTaskListGet(&head, [](const _tag_kavo_sched_task_*) { return true; }), 0);
    EXPECT_EQ(KAVOSchedTaskListSort(&head, key, ascending), 0);
    std::string names;
    for (auto task = head; task != nullptr; task = KAVOSchedTaskNext(task)) {
      names += (names.empty() ? "" : " ") + KAVOSchedTaskGetName(*task);
    }
    KAVOSchedTaskListFree(&head);
    EXPECT_EQ(head, nullptr);
    return names;
  }

  static Json::Value basic(const _tag_kavo_sched_task_& task) {
    Json::Value doc;
    EXPECT_TRUE(KAVOSchedTaskConvertToJson_Basic(task, doc));
    return doc["basic"];
  }

  static Json::Value schedule(const _tag_kavo_sched_task_& task) {
    Json::Value doc;
    EXPECT_TRUE(KAVOSchedTaskConvertToJson_Schedule(task, doc));
    return doc["schedule"];
  }

  TemporaryRoot root_;
};
