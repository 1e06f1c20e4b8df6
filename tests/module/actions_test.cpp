// "run", "delete" and "set_enable".
#include <tuple>

#include "module/module_test.h"

namespace {

using ActionsTest = ModuleTest;

TEST_F(ActionsTest, RunAndDeleteStopAtTheFirstTaskThatFails) {
  for (const auto& [method, operation, log] :
       {std::tuple("run", "KAVOSchedTaskRun ", "289 Failed to run task [6]."),
        std::tuple("delete", "KAVOSchedTaskRemove ", "250 Failed to delete task 6.")}) {
    const std::string does = operation;
    for (const int id : {5, 7, 8}) platform.add(id);
    EXPECT_EQ(call(method, 1, R"({"task": 7})"_json), success());
    EXPECT_EQ(call(method, 1, R"({"task": []})"_json), success());
    EXPECT_EQ(call(method, 1, R"({"task": [8, 5, "7"]})"_json),
              error(4800, "id must be an integer"));
    EXPECT_EQ(take_calls(), (Lines{does + "7", does + "8", does + "5"}));
    for (const int id : {5, 7}) platform.add(id);
    EXPECT_FALSE(call(method, 1, R"({"task": [5, 6, 7]})"_json).success);
    EXPECT_EQ(take_log(),
              Lines{std::string("KAVO.Core.TaskScheduler:") + log + " [0x0404 store.c:9]"});
    EXPECT_EQ(take_calls(), (Lines{does + "5", does + "6"}));
  }
}

TEST_F(ActionsTest, SetEnableReusesOneRecord) {
  for (const int id : {7, 8}) platform.add(id).enabled = false;
  EXPECT_EQ(
      call("set_enable", 1, R"({"status": [{"id": 7, "enable": true}, {"id": 8, "enable": true},
                                                 {"id": 7, "enable": false}]})"_json),
      success());
  EXPECT_EQ(take_calls(),
            (Lines{"KAVOSchedTaskAlloc", "KAVOSchedTaskLoad 7", "SetState 1", "KAVOSchedTaskSave 7",
                   "KAVOSchedTaskLoad 8", "SetState 1", "KAVOSchedTaskSave 8",
                   "KAVOSchedTaskLoad 7", "SetState 0", "KAVOSchedTaskSave 7"}));
  EXPECT_TRUE(!platform.tasks[7].enabled && platform.tasks[8].enabled);
}

}  // namespace
