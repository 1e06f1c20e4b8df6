// "get" of the plain handler, and the app section that handlers fetch while a task is saved.
#include "module/hook_handler.h"
#include "module/module_test.h"

namespace {

const std::string kSource = "KAVO.Core.TaskScheduler.Basic:";

class GetTest : public ModuleTest {
 protected:
  GetTest() { platform.add(12, "KAVO.ZEL.BackupApp.LUNBackup").schedule = R"({"min": 1})"_json; }
};

TEST_F(GetTest, TaskDocument) {
  platform.tasks[12].action = "#backup:run# twice";
  platform.strings[kDesktopStrings] = R"({"backup": {"run": "Back up"}})"_json;
  platform.tasks[12].schedule = R"({
      "type": "weekly", "week_name": "0,6", "repeat": "never", "hour": 3, "min": 15, "repeat_hour": 1,
      "repeat_min": 5, "repeat_min_store_config": [1, 2], "repeat_hour_store_config": [1],
      "next_trigger_time": "2026-01-02 03:04"})"_json;
  Json::Value document = R"({
      "id": 12, "name": "task 12", "action": "Back up twice", "type": "backup", "can_edit_name": true,
      "can_edit_owner": false, "enable": true, "owner": "root", "extra": null,
      "schedule": {"type": "weekly", "week_day": "0,6", "repeat_date": "never", "hour": 3,
                   "minute": 15, "repeat_hour": 1, "repeat_min": 5,
                   "repeat_min_store_config": [1, 2], "repeat_hour_store_config": [1]}})"_json;
  EXPECT_EQ(call("get", 2, R"({"id": 12})"_json), success(document));
  for (const char* key : {"repeat_min", "repeat_min_store_config", "repeat_hour_store_config"}) {
    document["schedule"].removeMember(key);
  }
  EXPECT_EQ(call("get", 1, R"({"id": "12"})"_json), success(document));
  document["type"] = "custom";
  EXPECT_EQ(call("get", 1, R"({"id": 12, "type": "custom"})"_json), success(document));
}

TEST_F(GetTest, SparseSections) {
  platform.tasks[12].basic = R"({"app": "x"})"_json;
  platform.tasks[12].schedule = Json::objectValue;
  EXPECT_EQ(call("get", 1, R"({"id": 12})"_json), success(R"({
      "id": null, "name": null, "action": null, "type": "custom", "can_edit_name": null,
      "can_edit_owner": false, "enable": false, "owner": null, "extra": null,
      "schedule": {"week_day": null, "repeat_date": null, "minute": null}})"_json));
  for (const auto& [text, enabled] : {std::pair("on", true), std::pair("oN", true),
                                      std::pair("off", false), std::pair("on ", false)}) {
    platform.tasks[12].basic["enabled"] = text;
    EXPECT_EQ(call("get", 1, R"({"id": 12})"_json).data["enable"], enabled) << text;
  }
}

TEST_F(GetTest, AppOperationsSeeTheWholeDocument) {
  Standalone<HookHandler> alone(R"({"id": 12})"_json);
  alone.handler.Process_v2("get");
  const Json::Value data = alone.response.only().data;
  EXPECT_TRUE(data["can_edit_owner"].asBool());
  EXPECT_EQ(compact(data["extra"]), "{\"of\":12,\"shown\":true}\n");
  EXPECT_FALSE(data.isMember("app"));
  EXPECT_EQ(alone.handler.document["basic"]["id"], 12);
  EXPECT_EQ(compact(alone.handler.document["schedule"]), "{\"min\":1}\n");
}

TEST_F(GetTest, FailureOfEachStep) {
  const std::string app = "Failed to convert app object";
  // clang-format off
  const std::vector<Step> steps{
      {"KAVOSchedTaskAlloc", "", "145 alloc task failed. id:[12]", 117, "Failed to allocate task"},
      {"KAVOSchedTaskLoad", " 12", "151 load task failed. id:[12]", 4801, "Failed to load task"},
      {"KAVOSchedTaskConvertToJson_Basic", "", "157 convert task to json (basic) faield. id:[12]", 117, "Failed to convert basic object"},
      {"KAVOSchedTaskConvertToJson_Schedule", "", "163 convert task to json (schedule) faield. id:[12]", 117, "Failed to convert schedule object"},
      {"ConvertToJson_App", "", "169 convert task to json (app) faield. id:[12]", 117, app},
      {"ReConstructJsonGet_App", "", "186 Convert task from json (app) failed.", 117, app}};
  // clang-format on
  Lines so_far;
  for (const Step& step : steps) {
    Standalone<HookHandler> alone(R"({"id": 12})"_json);
    platform.fail(step.operation);
    alone.handler.Process("get", 2);
    EXPECT_EQ(alone.response.only(), error(step.code, step.message));
    EXPECT_EQ(take_log(), Lines{kSource + step.log + kCause});
    so_far.push_back(step.operation + step.arguments);
    EXPECT_EQ(take_calls(), so_far);
  }
  Standalone<HookHandler> unreadable(R"({"id": "x"})"_json);
  unreadable.handler.Process_v1("get");
  EXPECT_EQ(unreadable.response.only(), error(4800, "id is invalid"));
  for (const std::string method : {"get", "set"}) {  // while the app is looked up
    for (const auto& [operation, log] :
         {std::pair("KAVOSchedTaskAlloc", "lib:38 alloc task failed. id:[12]"),
          std::pair("KAVOSchedTaskLoad", "lib:43 load task failed. id:[12]"),
          std::pair("KAVOSchedTaskConvertToJson_Basic",
                    "lib:48 convert task to json (basic) faield. id:[12]")}) {
      platform.fail(operation);
      EXPECT_EQ(call(method, 1, R"({"id": 12})"_json), error(4801));
      EXPECT_EQ(take_log(), Lines{log + std::string(kCause)});
    }
  }
}

TEST_F(GetTest, ExceptionsPassThroughAndLeaveNothing) {
  for (const Json::Value& section : {R"({"app": [1]})"_json, R"("no section")"_json}) {
    platform.tasks[12].basic = section;
    EXPECT_THROW(call("get", 1, R"({"id": 12, "type": "custom"})"_json), Json::Exception);
  }
}

TEST_F(GetTest, OriginAppSection) {
  Json::Value section = "replaced";
  for (const auto& [parameters, id] :
       {std::pair("{}", "-1"), std::pair(R"({"id": 12})", "12"), std::pair(R"({"id": "12"})", "12"),
        std::pair(R"({"id": "12 and more"})", "12")}) {
    Standalone<HookHandler> alone(json(parameters));
    EXPECT_TRUE(alone.handler.GetOriginAppObj(section));
    EXPECT_EQ(compact(section), std::string("{\"of\":") + id + "}\n");
    EXPECT_TRUE(alone.handler.document.isNull());  // a fresh document
  }
  // clang-format off
  const std::vector<Step> steps{
      {"KAVOSchedTaskAlloc", "", "102 alloc task failed. id:[-1]", 117, "Failed to allocate task"},
      {"KAVOSchedTaskLoad", "", "108 load task failed. id:[-1]", 4801, "Failed to load task"},
      {"ConvertToJson_App", "", "114 convert task to json (app) faield. id:[-1]", 117, "Failed to convert app object"}};
  // clang-format on
  for (const Step& step : steps) {
    Standalone<HookHandler> alone;
    platform.fail(step.operation);
    EXPECT_FALSE(alone.handler.GetOriginAppObj(section));
    alone.handler.ReportError();
    EXPECT_EQ(alone.response.only(), error(step.code, step.message));
    EXPECT_EQ(take_log(), Lines{kSource + step.log + kCause});
  }
}

}  // namespace
