// "set" and "create" of the plain handler: the document the store gets, and the order of the steps.
#include "module/hook_handler.h"
#include "module/module_test.h"

namespace {

class SetTest : public ModuleTest {
 protected:
  SetTest() { platform.add(12); }
};

const Json::Value kParameters = R"({
    "id": 12, "name": "nightly", "owner": "eve", "enable": true, "type": "kept",
    "basic": {"app": "of the client's"}, "action": "kept too", "extra": {"of": "the form"},
    "schedule": {"minute": 5, "week_day": "1", "repeat_date": "daily", "hour": 3, "repeat_min": 7, "min": 9,
                 "repeat_min_store_config": [7], "repeat_hour_store_config": [8]}})"_json;

TEST_F(SetTest, DocumentForTheStore) {
  Json::Value document = R"({
      "basic": {"id": "12", "task_name": "nightly", "owner": "eve", "enabled": "on"},
      "schedule": {"min": 5, "week_name": "1", "repeat": "daily", "hour": 3, "repeat_min": 7,
                   "repeat_min_store_config": [7], "repeat_hour_store_config": [8]},
      "app": "reshaped", "type": "kept", "action": "kept too"})"_json;
  for (const int version : {2, 1}) {
    Standalone<HookHandler> alone(kParameters);
    alone.handler.Process("set", version);
    EXPECT_EQ(alone.response.only(), success(R"({"id": 12})"_json));
    EXPECT_EQ(compact(platform.basic_document), compact(document));
    EXPECT_EQ(compact(platform.schedule_document), compact(document));
    EXPECT_EQ(compact(alone.handler.document), compact(document));
    EXPECT_EQ(compact(alone.handler.section), "{\"of\":\"the form\"}\n");
    EXPECT_EQ(platform.tasks[12].command, "of the app");
    for (const char* key : {"repeat_min", "repeat_min_store_config", "repeat_hour_store_config"}) {
      document["schedule"].removeMember(key);  // which version 1 cannot set
    }
  }
  platform.tasks[12].app = "KAVO.ZEL.BackupApp.NetBackup";
  EXPECT_EQ(call("set", 2, kParameters), success(R"({"id": 12})"_json));
  EXPECT_EQ(compact(platform.basic_document["app"]), "{\"of\":\"the form\"}\n");
}

TEST_F(SetTest, EmptyDocumentIsANewTask) {
  Standalone<HookHandler> alone;
  alone.handler.Process_v1("set");
  EXPECT_EQ(alone.response.only(), success(R"({"id": 13})"_json));
  EXPECT_EQ(compact(platform.basic_document), compact(R"({
      "basic": {"id": "-1", "task_name": null, "owner": null, "enabled": "off"},
      "schedule": {"min": null, "week_name": null, "repeat": null}, "app": "reshaped"})"_json));
  // A "create" with an id overwrites that task.
  EXPECT_EQ(call("create", 1, R"({"type": "beep", "id": "12", "name": "new"})"_json),
            success(R"({"id": 12})"_json));
  EXPECT_EQ(platform.tasks[12].name, "new");
  EXPECT_EQ(platform.tasks.size(), 2U);
}

TEST_F(SetTest, FailureOfEachStep) {
  const std::string source = "KAVO.Core.TaskScheduler.Basic:";
  // clang-format off
  const std::vector<Step> steps{
      {"ReConstructJsonSet_App", "", "238 Convert task from json (app) failed.", 4800, "invalid (app) object"},
      {"KAVOSchedTaskAlloc", "", "245 Failed to new task.", 117, "Failed to new task"},
      {"KAVOSchedTaskConvertFromJson_Basic", "", "250 Convert task from json (basic) failed.", 117, "Invalid (basic) object"},
      {"KAVOSchedTaskConvertFromJson_Schedule", "", "255 Convert task from json (schedule) failed.", 117, "Invalid (schedule) object"},
      {"ConvertFromJson_App", "", "260 Convert task from json (app) failed.", 117, "Invalid (app) object"},
      {"KAVOSchedTaskSave", " 12", "267 Save task failed.", 117, "Failed to save task"}};
  // clang-format on
  Lines so_far;
  for (const Step& step : steps) {
    Standalone<HookHandler> alone(kParameters);
    platform.fail(step.operation);
    alone.handler.Process("set", 2);
    EXPECT_EQ(alone.response.only(), error(step.code, step.message));
    EXPECT_EQ(take_log(), Lines{source + step.log + kCause});
    if (step.operation == "ConvertFromJson_App") so_far.emplace_back("SetCommand of the app");
    so_far.push_back(step.operation + step.arguments);
    EXPECT_EQ(take_calls(), so_far);
    EXPECT_EQ(platform.tasks[12].name, "task 12");
  }
  platform.fail("SetCommand");  // the result of a setter does not matter
  Standalone<HookHandler> alone(kParameters);
  alone.handler.Process("set", 2);
  EXPECT_TRUE(alone.response.only().success);
}

TEST_F(SetTest, ExceptionsPassThroughAndLeaveNothing) {
  for (const char* wrong : {R"({"id": 12, "schedule": "every day"})",
                            R"({"id": 12, "schedule": [1]})", R"({"id": 12, "enable": "true"})"}) {
    EXPECT_THROW(call("set", 1, json(wrong)), Json::Exception) << wrong;
  }
  EXPECT_FALSE(saved());
}

}  // namespace
