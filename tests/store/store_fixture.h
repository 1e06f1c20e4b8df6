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
  std::string errors;
  const Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
    throw std::invalid_argument(errors);
  }
  return value;
}

inline int last_error() {
  return XLIBCErrGet();
}

class StoreTest : public testing::Test {
 protected:
  void SetUp() override { XLIBCErrSetEx(0, "", 0); }

  // Stores a task of the given name and app section, and returns its id.
  static int store(const std::string& name, const std::string& command = "true",
                   const std::string& schedule = "{}") {
    const TaskPtr task = new_task();
    Json::Value doc;
    doc["basic"]["task_name"] = name;
    doc["schedule"] = json(schedule);
    EXPECT_TRUE(KAVOSchedTaskConvertFromJson_Basic(doc, *task));
    EXPECT_TRUE(KAVOSchedTaskConvertFromJson_Schedule(doc, *task));
    KAVOSchedCTaskSetCommand(task.get(), command.c_str());
    EXPECT_EQ(KAVOSchedTaskSave(task.get()), 0);
    return KAVOSchedTaskGetID(*task);
  }

  static TaskPtr load(int id) {
    TaskPtr task = new_task();
    EXPECT_EQ(KAVOSchedTaskLoad(id, task.get()), 0);
    return task;
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
