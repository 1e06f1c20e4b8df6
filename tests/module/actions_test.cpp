// "run", "delete" and "set_enable".
#include "module/module_test.h"

namespace {

const std::string kSource = "KAVO.Core.TaskScheduler:";

class ActionsTest : public ModuleTest {
 protected:
  ActionsTest() {
    for (const int id : {5, 7, 8}) platform.add(id).enabled = false;
  }
};

struct Row {
  std::string name;
  std::string operation;
  int code;
  std::string message;
  std::string log;
};

TEST_F(ActionsTest, RunAndDelete) {
  // clang-format off
  const std::vector<Row> actions{
      {"run", "KAVOSchedTaskRun ", 4803, "Failed to run task", "289 Failed to run task [6]."},
      {"delete", "KAVOSchedTaskRemove ", 4802, "Failed to delete task", "250 Failed to delete task 6."}};
  // clang-format on
  for (const auto& [method, operation, code, message, log] : actions) {
    EXPECT_EQ(call(method, 1, R"({"task": 7})"_json), success());
    platform.add(7);
    EXPECT_EQ(call(method, 1, R"({"task": [8, 7]})"_json), success());
    EXPECT_EQ(take_calls(), (Lines{operation + "7", operation + "8", operation + "7"}));
    platform.add(7);
    EXPECT_EQ(call(method, 1, R"({"task": []})"_json), success());
    // Stops at the first task that fails.
    EXPECT_EQ(call(method, 1, R"({"task": [5, 6, 7]})"_json), error(code, message));
    EXPECT_EQ(take_log(), Lines{kSource + log + kNotStoredCause});
    EXPECT_EQ(take_calls(), (Lines{operation + "5", operation + "6"}));
    for (const char* wrong : {"{}", R"({"task": null})", R"({"task": "7"})", R"({"task": true})",
                              R"({"task": {"id": 7}})", R"({"task": 3000000000})"}) {
      EXPECT_EQ(call(method, 1, json(wrong)),
                error(4800, "task must be an array of id or a single id"))
          << wrong;
    }
    EXPECT_EQ(take_calls(), Lines());
    for (const char* wrong : {R"([7, "8", 5])", "[7, null]", "[7, [8]]", "[7, true]"}) {
      EXPECT_EQ(call(method, 1, json(std::string("{\"task\": ") + wrong + "}")),
                error(4800, "id must be an integer"));
      EXPECT_EQ(take_calls(), Lines{operation + "7"}) << wrong;
      platform.add(7);
    }
  }
}

TEST_F(ActionsTest, SetEnableReusesOneRecord) {
  EXPECT_EQ(
      call("set_enable", 1, R"({"status": [{"id": 7, "enable": true}, {"id": 8, "enable": true},
                                                 {"id": 7, "enable": false}]})"_json),
      success());
  EXPECT_EQ(take_calls(),
            (Lines{"KAVOSchedTaskAlloc", "KAVOSchedTaskLoad 7", "SetState 1", "KAVOSchedTaskSave 7",
                   "KAVOSchedTaskLoad 8", "SetState 1", "KAVOSchedTaskSave 8",
                   "KAVOSchedTaskLoad 7", "SetState 0", "KAVOSchedTaskSave 7"}));
  EXPECT_FALSE(platform.tasks[7].enabled);
  EXPECT_TRUE(platform.tasks[8].enabled);
  EXPECT_EQ(platform.tasks[8].name, "task 8");
}

TEST_F(ActionsTest, SetEnableWrongShapes) {
  for (const char* wrong : {"{}", R"({"status": {"id": 7}})", R"({"status": "[]"})"}) {
    EXPECT_EQ(call("set_enable", 1, json(wrong)), error(4800, "tasks must be an array"));
  }
  EXPECT_EQ(take_calls(), Lines());
  for (const char* wrong :
       {R"({"id": 7, "enable": 1})", R"({"id": 7, "enable": "true"})", R"({"id": 7})",
        R"({"id": "7", "enable": true})", R"({"id": 3000000000, "enable": true})"}) {
    Json::Value parameters = R"({"status": [{"id": 5, "enable": true}]})"_json;
    parameters["status"].append(json(wrong));
    EXPECT_EQ(call("set_enable", 1, parameters),
              error(4800, "id must be an integer, enabled must be a boolean"))
        << wrong;
    EXPECT_EQ(calls_of("KAVOSchedTaskSave"), Lines{"KAVOSchedTaskSave 5"});
    take_calls();
  }
}

TEST_F(ActionsTest, SetEnableStoreFailures) {
  // clang-format off
  const std::vector<Row> steps{
      {"1", "KAVOSchedTaskAlloc", 117, "Failed to create task", "315 Failed to new task -1."},
      {"2", "KAVOSchedTaskLoad", 4801, "Failed to get task", "328 Failed to get task 7."},
      {"2", "KAVOSchedTaskSave", 4804, "Failed to update task", "335 Failed to upadte task 7."}};
  // clang-format on
  for (const auto& [nth, operation, code, message, log] : steps) {
    platform.fail(operation, std::stoi(nth));
    EXPECT_EQ(call("set_enable", 1,
                   R"({"status": [{"id": 5, "enable": true}, {"id": 7, "enable": true}]})"_json),
              error(code, message));
    EXPECT_EQ(take_log(), Lines{kSource + log + kCause});
    EXPECT_EQ(platform.tasks[5].enabled, nth == "2");
    EXPECT_FALSE(platform.tasks[7].enabled);
  }
}

}  // namespace
