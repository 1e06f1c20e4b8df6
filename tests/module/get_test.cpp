// "get" of the plain handler, and the app section that handlers fetch while a task is saved.
#include "module/hook_handler.h"
#include "module/module_test.h"

namespace {

const std::string kSource = "KAVO.Core.TaskScheduler.Basic:";

class GetTest : public ModuleTest {
 protected:
  GetTest() {
    FakeTask& task = platform.add(12, "KAVO.ZEL.BackupApp.LUNBackup");
    task.action = "#backup:run# twice";
    task.schedule = R"({"type": "weekly", "week_name": "0,6", "repeat": "never", "hour": 3,
                        "min": 15, "repeat_hour": 1, "repeat_min": 5,
                        "repeat_min_store_config": [1, 2], "repeat_hour_store_config": [1],
                        "next_trigger_time": "2026-01-02 03:04"})"_json;
    platform.strings[kDesktopStrings] = R"({"backup": {"run": "Back up"}})"_json;
  }
};

TEST_F(GetTest, TaskDocument) {
  const Json::Value version_2 = R"({
      "id": 12, "name": "task 12", "action": "Back up twice", "type": "backup",
      "can_edit_name": true, "can_edit_owner": false, "enable": true, "owner": "root",
      "schedule": {"type": "weekly", "week_day": "0,6", "repeat_date": "never", "hour": 3,
                   "minute": 15, "repeat_hour": 1, "repeat_min": 5,
                   "repeat_min_store_config": [1, 2], "repeat_hour_store_config": [1]},
      "extra": null})"_json;
  EXPECT_EQ(call("get", 2, R"({"id": 12})"_json), success(version_2));

  Json::Value version_1 = version_2;
  for (const char* key : {"repeat_min", "repeat_min_store_config", "repeat_hour_store_config"}) {
    version_1["schedule"].removeMember(key);
  }
  EXPECT_EQ(call("get", 1, R"({"id": "12"})"_json), success(version_1));
  version_1["type"] = "custom";
  EXPECT_EQ(call("get", 1, R"({"id": 12, "type": "custom"})"_json), success(version_1));
}

TEST_F(GetTest, SparseSections) {
  platform.tasks[12].basic = R"({"app": "x"})"_json;
  platform.tasks[12].schedule = Json::objectValue;
  EXPECT_EQ(call("get", 1, R"({"id": 12})"_json), success(R"({
      "id": null, "name": null, "action": null, "type": "custom", "can_edit_name": null,
      "can_edit_owner": false, "enable": false, "owner": null,
      "schedule": {"week_day": null, "repeat_date": null, "minute": null},
      "extra": null})"_json));
}

TEST_F(GetTest, EnabledIsOnInAnyCase) {
  for (const auto& [text, enabled] :
       {std::pair("on", true), std::pair("ON", true), std::pair("oN", true),
        std::pair("off", false), std::pair("on ", false), std::pair("", false)}) {
    platform.tasks[12].basic["enabled"] = text;
    EXPECT_EQ(call("get", 1, R"({"id": 12})"_json).data["enable"], enabled) << text;
  }
}

TEST_F(GetTest, AppOperationsSeeTheWholeDocument) {
  Standalone<HookHandler> alone(R"({"id": 12})"_json);
  platform.tasks[12].schedule = R"({"min": 1})"_json;
  alone.handler.Process_v2("get");
  const Answer answer = alone.response.only();
  EXPECT_TRUE(answer.data["can_edit_owner"].asBool());
  EXPECT_EQ(compact(answer.data["extra"]), "{\"of\":12,\"shown\":true}\n");
  EXPECT_FALSE(answer.data.isMember("app"));
  EXPECT_EQ(alone.handler.document["basic"]["id"], 12);
  EXPECT_EQ(compact(alone.handler.document["schedule"]), "{\"min\":1}\n");
}

TEST_F(GetTest, FailureOfEachStep) {
  struct Step {
    const char* operation;
    const char* log;
    int code;
    const char* message;
  };
  const std::vector<Step> steps{
      {"KAVOSchedTaskAlloc", "145 alloc task failed. id:[12]", 117, "Failed to allocate task"},
      {"KAVOSchedTaskLoad", "151 load task failed. id:[12]", 4801, "Failed to load task"},
      {"KAVOSchedTaskConvertToJson_Basic", "157 convert task to json (basic) faield. id:[12]", 117,
       "Failed to convert basic object"},
      {"KAVOSchedTaskConvertToJson_Schedule", "163 convert task to json (schedule) faield. id:[12]",
       117, "Failed to convert schedule object"},
      {"ConvertToJson_App", "169 convert task to json (app) faield. id:[12]", 117,
       "Failed to convert app object"},
      {"ReConstructJsonGet_App", "186 Convert task from json (app) failed.", 117,
       "Failed to convert app object"},
  };
  Lines so_far;
  for (const Step& step : steps) {
    Standalone<HookHandler> alone(R"({"id": 12})"_json);
    platform.fail(step.operation);
    alone.handler.Process("get", 2);
    EXPECT_EQ(alone.response.only(), error(step.code, step.message));
    EXPECT_EQ(take_log(), Lines{kSource + step.log + kCause});
    so_far.push_back(step.operation + std::string(step.code == 4801 ? " 12" : ""));
    EXPECT_EQ(take_calls(), so_far);
  }
}

TEST_F(GetTest, IdThatIsNoInteger) {
  for (const Json::Value& wrong : {"{}"_json, R"({"id": "x"})"_json, R"({"id": null})"_json}) {
    Standalone<TaskSchedulerBasicHandler> alone(wrong);
    alone.handler.Process_v1("get");
    EXPECT_EQ(alone.response.only(), error(4800, "id is invalid"));
  }
  EXPECT_EQ(platform.calls, Lines());
}

TEST_F(GetTest, FailureWhileTheAppIsLookedUp) {
  struct Case {
    const char* operation;
    const char* log;
  };
  const std::vector<Case> cases{
      {"KAVOSchedTaskAlloc", "lib:38 alloc task failed. id:[12]"},
      {"KAVOSchedTaskLoad", "lib:43 load task failed. id:[12]"},
      {"KAVOSchedTaskConvertToJson_Basic", "lib:48 convert task to json (basic) faield. id:[12]"},
  };
  for (const char* method : {"get", "set"}) {
    for (const Case& row : cases) {
      platform.fail(row.operation);
      EXPECT_EQ(call(method, 1, R"({"id": 12})"_json), bare_error(4801));
      EXPECT_EQ(take_log(), Lines{row.log + std::string(kCause)});
    }
  }
}

TEST_F(GetTest, ExceptionsPassThroughAndLeaveNothing) {
  const Json::Value parameters = R"({"id": 12, "type": "custom"})"_json;
  platform.tasks[12].basic = R"({"app": [1]})"_json;
  EXPECT_THROW(call("get", 1, parameters), Json::Exception);
  platform.tasks[12].basic = "no section";
  EXPECT_THROW(call("get", 1, parameters), Json::Exception);
  platform.tasks[12].basic = Json::nullValue;
  platform.tasks[12].schedule = "no section";
  EXPECT_THROW(call("get", 1, parameters), Json::Exception);
}

TEST_F(GetTest, OriginAppSection) {
  const std::vector<std::pair<Json::Value, int>> cases{
      {"{}"_json, -1},
      {R"({"id": 12})"_json, 12},
      {R"({"id": "12"})"_json, 12},
      {R"({"id": "12 and more"})"_json, 12},
      {R"({"id": "-1"})"_json, -1},
  };
  for (const auto& [parameters, id] : cases) {
    Standalone<HookHandler> alone(parameters);
    Json::Value section = "replaced";
    EXPECT_TRUE(alone.handler.GetOriginAppObj(section));
    EXPECT_EQ(compact(section), "{\"of\":" + std::to_string(id) + "}\n");
    EXPECT_EQ(take_calls(), (Lines{"KAVOSchedTaskAlloc", "KAVOSchedTaskLoad " + std::to_string(id),
                                   "ConvertToJson_App"}));
    EXPECT_TRUE(alone.handler.document.isNull());  // a fresh document
  }
  Standalone<HookHandler> unreadable(R"({"id": {}})"_json);
  Json::Value section;
  EXPECT_THROW(unreadable.handler.GetOriginAppObj(section), Json::Exception);
}

TEST_F(GetTest, OriginAppSectionFailures) {
  struct Case {
    const char* operation;
    const char* log;
    int code;
    const char* message;
  };
  const std::vector<Case> cases{
      {"KAVOSchedTaskAlloc", "102 alloc task failed. id:[-1]", 117, "Failed to allocate task"},
      {"KAVOSchedTaskLoad", "108 load task failed. id:[-1]", 4801, "Failed to load task"},
      {"ConvertToJson_App", "114 convert task to json (app) faield. id:[-1]", 117,
       "Failed to convert app object"},
  };
  for (const Case& row : cases) {
    Standalone<HookHandler> alone;
    platform.fail(row.operation);
    Json::Value section;
    EXPECT_FALSE(alone.handler.GetOriginAppObj(section));
    alone.handler.ReportError();
    EXPECT_EQ(alone.response.only(), error(row.code, row.message));
    EXPECT_EQ(take_log(), Lines{kSource + row.log + kCause});
  }
}

}  // namespace
