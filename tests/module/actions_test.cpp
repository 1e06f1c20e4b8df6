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

struct Action {
  const char* method;
  const char* operation;
  int code;
  const char* message;
  const char* log;  // for task 6
};

const std::vector<Action> kActions{
    {"run", "KAVOSchedTaskRun ", 4803, "Failed to run task", "289 Failed to run task [6]."},
    {"delete", "KAVOSchedTaskRemove ", 4802, "Failed to delete task",
     "250 Failed to delete task 6."},
};

TEST_F(ActionsTest, OneIdOrSeveralInOrder) {
  for (const auto& [method, operation, code, message, log] : kActions) {
    EXPECT_EQ(call(method, 1, R"({"task": 7})"_json), success());
    EXPECT_EQ(take_calls(), Lines{std::string(operation) + "7"});
    platform.add(7);
    EXPECT_EQ(call(method, 1, R"({"task": [8, 7]})"_json), success());
    EXPECT_EQ(take_calls(), (Lines{std::string(operation) + "8", std::string(operation) + "7"}));
    platform.add(7);
    EXPECT_EQ(call(method, 1, R"({"task": []})"_json), success());
    EXPECT_EQ(take_calls(), Lines());
  }
}

TEST_F(ActionsTest, WrongShapes) {
  const std::string no_list = "task must be an array of id or a single id";
  const std::string no_id = "id must be an integer";
  for (const auto& [method, operation, code, message, log] : kActions) {
    for (const Json::Value& wrong :
         {"{}"_json, R"({"task": null})"_json, R"({"task": "7"})"_json, R"({"task": true})"_json,
          R"({"task": {"id": 7}})"_json, R"({"task": 7.5})"_json, R"({"task": 3000000000})"_json}) {
      EXPECT_EQ(call(method, 1, wrong), error(4800, no_list)) << wrong;
    }
    EXPECT_EQ(take_calls(), Lines());
    for (const Json::Value& wrong : {R"({"task": [7, "8", 5]})"_json, R"({"task": [7, null]})"_json,
                                     R"({"task": [7, [8]]})"_json, R"({"task": [7, true]})"_json}) {
      EXPECT_EQ(call(method, 1, wrong), error(4800, no_id)) << wrong;
      EXPECT_EQ(take_calls(), Lines{std::string(operation) + "7"});
      platform.add(7);
    }
  }
}

TEST_F(ActionsTest, StopsAtTheFirstTaskThatFails) {
  for (const auto& [method, operation, code, message, log] : kActions) {
    EXPECT_EQ(call(method, 1, R"({"task": [5, 6, 7]})"_json), error(code, message));
    EXPECT_EQ(take_log(), Lines{kSource + log + " [0x0404 store.c:9]"});
    EXPECT_EQ(take_calls(), (Lines{std::string(operation) + "5", std::string(operation) + "6"}));
  }
  EXPECT_FALSE(platform.tasks.contains(5));
  EXPECT_TRUE(platform.tasks.contains(7));
}

TEST_F(ActionsTest, SetEnableReusesOneRecord) {
  EXPECT_EQ(call("set_enable", 1, R"({"status": [{"id": 7, "enable": true},
                                                 {"id": 8, "enable": true},
                                                 {"id": 7, "enable": false}]})"_json),
            success());
  EXPECT_EQ(take_calls(),
            (Lines{"KAVOSchedTaskAlloc", "KAVOSchedTaskLoad 7", "SetState 1", "KAVOSchedTaskSave 7",
                   "KAVOSchedTaskLoad 8", "SetState 1", "KAVOSchedTaskSave 8",
                   "KAVOSchedTaskLoad 7", "SetState 0", "KAVOSchedTaskSave 7"}));
  EXPECT_FALSE(platform.tasks[7].enabled);
  EXPECT_TRUE(platform.tasks[8].enabled);
  EXPECT_EQ(platform.tasks[8].name, "task 8");
  EXPECT_EQ(call("set_enable", 1, R"({"status": []})"_json), success());
}

TEST_F(ActionsTest, SetEnableWrongShapes) {
  for (const Json::Value& wrong :
       {"{}"_json, R"({"status": {"id": 7, "enable": true}})"_json, R"({"status": "[]"})"_json}) {
    EXPECT_EQ(call("set_enable", 1, wrong), error(4800, "tasks must be an array"));
  }
  EXPECT_EQ(take_calls(), Lines());
  for (const Json::Value& wrong :
       {R"({"id": 7, "enable": 1})"_json, R"({"id": 7, "enable": "true"})"_json,
        R"({"id": "7", "enable": true})"_json, R"({"id": 7})"_json, R"({"enable": true})"_json,
        R"({"id": 3000000000, "enable": true})"_json, R"({})"_json}) {
    Json::Value parameters = R"({"status": [{"id": 5, "enable": true}]})"_json;
    parameters["status"].append(wrong);
    EXPECT_EQ(call("set_enable", 1, parameters),
              error(4800, "id must be an integer, enabled must be a boolean"))
        << wrong;
    EXPECT_EQ(take_calls(), (Lines{"KAVOSchedTaskAlloc", "KAVOSchedTaskLoad 5", "SetState 1",
                                   "KAVOSchedTaskSave 5"}));
  }
  EXPECT_TRUE(platform.tasks[5].enabled);
}

TEST_F(ActionsTest, SetEnableOfWhatIsNoObject) {
  // Either the JSON library's exception or the answer for a wrong shape; nothing leaks or is saved.
  try {
    EXPECT_EQ(call("set_enable", 1, R"({"status": [7]})"_json).code, 4800);
  } catch (const Json::Exception&) {
  }
  EXPECT_FALSE(saved());
}

TEST_F(ActionsTest, SetEnableStoreFailures) {
  struct Case {
    const char* operation;
    const char* log;
    int code;
    const char* message;
  };
  const std::vector<Case> cases{
      {"KAVOSchedTaskAlloc", "315 Failed to new task -1.", 117, "Failed to create task"},
      {"KAVOSchedTaskLoad", "328 Failed to get task 7.", 4801, "Failed to get task"},
      {"KAVOSchedTaskSave", "335 Failed to upadte task 7.", 4804, "Failed to update task"},
  };
  const Json::Value parameters =
      R"({"status": [{"id": 5, "enable": true}, {"id": 7, "enable": true}]})"_json;
  for (const Case& row : cases) {
    const bool first = row.code == 117;
    platform.fail(row.operation, first ? 1 : 2);
    EXPECT_EQ(call("set_enable", 1, parameters), error(row.code, row.message));
    EXPECT_EQ(take_log(), Lines{kSource + row.log + kCause});
    EXPECT_EQ(platform.tasks[5].enabled, !first);
    EXPECT_FALSE(platform.tasks[7].enabled);
  }
}

}  // namespace
