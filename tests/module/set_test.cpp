// "set" and "create" of the plain handler: the document the store gets, and the order of the steps.
#include "module/hook_handler.h"
#include "module/module_test.h"

namespace {

const std::string kSource = "KAVO.Core.TaskScheduler.Basic:";

class SetTest : public ModuleTest {
 protected:
  SetTest() { platform.add(12); }
};

const Json::Value kParameters = R"({
    "id": 12, "name": "nightly", "owner": "eve", "enable": true, "type": "kept",
    "basic": {"app": "of the client's"}, "action": "kept too",
    "schedule": {"minute": 5, "week_day": "1", "repeat_date": "daily", "hour": 3, "repeat_min": 7,
                 "repeat_min_store_config": [7], "repeat_hour_store_config": [8],
                 "min": "overwritten"},
    "extra": {"of": "the form"}})"_json;

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
}

TEST_F(SetTest, EmptyDocumentIsANewTask) {
  Standalone<HookHandler> alone;
  alone.handler.Process_v1("set");
  EXPECT_EQ(alone.response.only(), success(R"({"id": 13})"_json));
  EXPECT_TRUE(alone.handler.section.isNull());
  EXPECT_EQ(compact(platform.basic_document), compact(R"({
      "basic": {"id": "-1", "task_name": null, "owner": null, "enabled": "off"},
      "schedule": {"min": null, "week_name": null, "repeat": null},
      "app": "reshaped"})"_json));
}

TEST_F(SetTest, CreateWithAnIdOverwritesThatTask) {
  EXPECT_EQ(call("create", 1, R"({"type": "beep", "id": "12", "name": "new"})"_json),
            success(R"({"id": 12})"_json));
  EXPECT_EQ(platform.tasks[12].name, "new");
  EXPECT_EQ(platform.tasks.size(), 1U);
}

TEST_F(SetTest, EnableIsReadAsABoolean) {
  for (const auto& [enable, enabled] :
       {std::pair("true", "on"), std::pair("false", "off"), std::pair("null", "off"),
        std::pair("1", "on"), std::pair("0", "off"), std::pair("0.5", "on")}) {
    Json::Value parameters = R"({"id": 12})"_json;
    parameters["enable"] = operator""_json(enable, std::char_traits<char>::length(enable));
    EXPECT_TRUE(call("set", 1, parameters).success);
    EXPECT_EQ(platform.basic_document["basic"]["enabled"], enabled) << enable;
  }
}

TEST_F(SetTest, PlainHandlerSetsNothingOfTheApp) {
  platform.tasks[12].app = "KAVO.ZEL.BackupApp.NetBackup";
  EXPECT_EQ(call("set", 2, kParameters), success(R"({"id": 12})"_json));
  EXPECT_EQ(setters(), Lines());
  EXPECT_EQ(compact(platform.basic_document["app"]), "{\"of\":\"the form\"}\n");
}

TEST_F(SetTest, FailureOfEachStep) {
  struct Step {
    const char* operation;
    const char* argument;
    const char* log;
    int code;
    const char* message;
  };
  const std::vector<Step> steps{
      {"ReConstructJsonSet_App", "", "238 Convert task from json (app) failed.", 4800,
       "invalid (app) object"},
      {"KAVOSchedTaskAlloc", "", "245 Failed to new task.", 117, "Failed to new task"},
      {"KAVOSchedTaskConvertFromJson_Basic", "", "250 Convert task from json (basic) failed.", 117,
       "Invalid (basic) object"},
      {"KAVOSchedTaskConvertFromJson_Schedule", "", "255 Convert task from json (schedule) failed.",
       117, "Invalid (schedule) object"},
      {"ConvertFromJson_App", "", "260 Convert task from json (app) failed.", 117,
       "Invalid (app) object"},
      {"KAVOSchedTaskSave", " 12", "267 Save task failed.", 117, "Failed to save task"},
  };
  Lines so_far;
  for (const Step& step : steps) {
    Standalone<HookHandler> alone(kParameters);
    platform.fail(step.operation);
    alone.handler.Process("set", 2);
    EXPECT_EQ(alone.response.only(), error(step.code, step.message));
    EXPECT_EQ(take_log(), Lines{kSource + step.log + kCause});
    if (step.operation == std::string("ConvertFromJson_App")) {
      so_far.emplace_back("SetCommand of the app");  // which the hook does before it fails
    }
    so_far.push_back(step.operation + std::string(step.argument));
    EXPECT_EQ(take_calls(), so_far);
    EXPECT_EQ(platform.tasks[12].name, "task 12");
  }
}

TEST_F(SetTest, TaskThatIsGoneByTheTimeItIsSaved) {
  Standalone<HookHandler> alone(R"({"id": 99})"_json);
  alone.handler.Process("set", 1);
  EXPECT_EQ(alone.response.only(), error(117, "Failed to save task"));
  EXPECT_EQ(take_log(), Lines{kSource + "267 Save task failed. [0x0404 store.c:9]"});
}

TEST_F(SetTest, SettersResultsDoNotMatter) {
  platform.fail("SetCommand");
  Standalone<HookHandler> alone(kParameters);
  alone.handler.Process("set", 2);
  EXPECT_EQ(alone.response.only(), success(R"({"id": 12})"_json));
}

TEST_F(SetTest, ExceptionsPassThroughAndLeaveNothing) {
  for (const Json::Value& wrong :
       {R"({"id": 12, "schedule": "every day"})"_json, R"({"id": 12, "schedule": [1]})"_json,
        R"({"id": 12, "enable": "true"})"_json}) {
    EXPECT_THROW(call("set", 1, wrong), Json::Exception) << wrong;
  }
  EXPECT_FALSE(saved());
}

}  // namespace
