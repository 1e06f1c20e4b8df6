// "get", "set" and "create" of the plain handler: the task document, and the sections that the
// store is asked for and given.
#include "module/hook_handler.h"
#include "module/module_test.h"

namespace {

class DocumentTest : public ModuleTest {
 protected:
  DocumentTest() { platform.add(12, "KAVO.ZEL.BackupApp.LUNBackup"); }
  // What clients of version 1 neither see nor set.
  static void remove_version_2(Json::Value& schedule) {
    for (const char* key : {"repeat_min", "repeat_min_store_config", "repeat_hour_store_config"}) {
      schedule.removeMember(key);
    }
  }
};

TEST_F(DocumentTest, Get) {
  platform.tasks[12].action = "#backup:run# twice";
  platform.strings[kDesktopStrings] = R"({"backup": {"run": "Back up"}})"_json;
  platform.tasks[12].schedule = R"({
      "type": "weekly", "week_name": "0,6", "repeat": "never", "hour": 3, "min": 15, "repeat_hour": 1, "repeat_min": 5,
      "repeat_min_store_config": [1], "repeat_hour_store_config": [1], "next_trigger_time": "2026-01-02 03:04"})"_json;
  Json::Value document = R"({
      "id": 12, "name": "task 12", "action": "Back up twice", "type": "backup", "can_edit_name": true,
      "can_edit_owner": false, "enable": true, "owner": "root", "extra": null,
      "schedule": {"type": "weekly", "week_day": "0,6", "repeat_date": "never", "hour": 3, "minute": 15, "repeat_hour": 1,
                   "repeat_min": 5, "repeat_min_store_config": [1], "repeat_hour_store_config": [1]}})"_json;
  EXPECT_EQ(call("get", 2, R"({"id": 12})"_json), success(document));
  remove_version_2(document["schedule"]);
  EXPECT_EQ(call("get", 1, R"({"id": "12"})"_json), success(document));
  document["type"] = "custom";
  EXPECT_EQ(call("get", 1, R"({"id": 12, "type": "custom"})"_json), success(document));

  platform.tasks[12].schedule = Json::objectValue;
  for (const auto& [text, enabled] :
       {std::pair("null", false), std::pair("\"oN\"", true), std::pair("\"on \"", false)}) {
    platform.tasks[12].basic = json(std::string(R"({"app": "x", "enabled": )") + text + "}");
    Json::Value sparse = R"({
        "id": null, "name": null, "action": null, "type": "custom", "can_edit_name": null, "can_edit_owner": false,
        "owner": null, "extra": null, "schedule": {"week_day": null, "repeat_date": null, "minute": null}})"_json;
    sparse["enable"] = enabled;
    EXPECT_EQ(call("get", 1, R"({"id": 12})"_json), success(sparse));
  }
}

TEST_F(DocumentTest, AppOperationsOfGetSeeTheWholeDocument) {
  Standalone<HookHandler> alone(R"({"id": 12})"_json);
  alone.handler.Process_v2("get");
  const Json::Value data = only(alone.response).data;
  EXPECT_TRUE(data["can_edit_owner"].asBool());
  EXPECT_EQ(compact(data["extra"]), "{\"of\":12,\"shown\":true}\n");
  EXPECT_FALSE(data.isMember("app"));
  EXPECT_EQ(alone.handler.document["basic"]["id"], 12);
  EXPECT_TRUE(alone.handler.document["schedule"].isObject());
  EXPECT_EQ(take_calls(),
            (Lines{"KAVOSchedTaskAlloc", "KAVOSchedTaskLoad 12", "KAVOSchedTaskConvertToJson_Basic",
                   "KAVOSchedTaskConvertToJson_Schedule", "ConvertToJson_App",
                   "ReConstructJsonGet_App"}));
  // The app section alone, as handlers fetch it while a task is saved.
  for (const auto& [parameters, id] : {std::pair("{}", "-1"), std::pair(R"({"id": 12})", "12"),
                                       std::pair(R"({"id": "12 and more"})", "12")}) {
    Standalone<HookHandler> fetching(json(parameters));
    Json::Value section = "replaced";
    EXPECT_TRUE(fetching.handler.GetOriginAppObj(section));
    EXPECT_EQ(compact(section), std::string("{\"of\":") + id + "}\n");
    EXPECT_TRUE(fetching.handler.document.isNull());
  }
}

TEST_F(DocumentTest, Set) {
  const Json::Value sent = R"({
      "id": 12, "name": "nightly", "owner": "eve", "enable": true, "type": "kept", "basic": {"app": "of the client's"},
      "action": "kept too", "extra": {"of": "the form"},
      "schedule": {"minute": 5, "week_day": "1", "repeat_date": "daily", "hour": 3, "repeat_min": 7, "min": 9,
                   "repeat_min_store_config": [7], "repeat_hour_store_config": [8]}})"_json;
  Json::Value document = R"({
      "basic": {"id": "12", "task_name": "nightly", "owner": "eve", "enabled": "on"},
      "schedule": {"min": 5, "week_name": "1", "repeat": "daily", "hour": 3, "repeat_min": 7,
                   "repeat_min_store_config": [7], "repeat_hour_store_config": [8]},
      "app": "reshaped", "type": "kept", "action": "kept too"})"_json;
  for (const int version : {2, 1}) {
    Standalone<HookHandler> alone(sent);
    platform.fail("SetCommand");  // the result of a setter does not matter
    take_calls();
    alone.handler.Process("set", version);
    EXPECT_EQ(only(alone.response), success(R"({"id": 12})"_json));
    EXPECT_EQ(take_calls(),
              (Lines{"ReConstructJsonSet_App", "KAVOSchedTaskAlloc",
                     "KAVOSchedTaskConvertFromJson_Basic", "KAVOSchedTaskConvertFromJson_Schedule",
                     "SetCommand of the app", "ConvertFromJson_App", "KAVOSchedTaskSave 12"}));
    EXPECT_EQ(compact(platform.basic_document), compact(document));
    EXPECT_EQ(compact(platform.schedule_document), compact(document));
    EXPECT_EQ(compact(alone.handler.document), compact(document));
    EXPECT_EQ(compact(alone.handler.section), "{\"of\":\"the form\"}\n");
    remove_version_2(document["schedule"]);
  }
  EXPECT_EQ(call("set", 2, sent), success(R"({"id": 12})"_json));
  EXPECT_EQ(compact(platform.basic_document["app"]), "{\"of\":\"the form\"}\n");
  EXPECT_EQ(calls_of("Set"), Lines());
  // An empty document is a new task; a "create" with an id overwrites that task.
  Standalone<HookHandler> fresh;
  fresh.handler.Process_v1("set");
  EXPECT_EQ(only(fresh.response), success(R"({"id": 13})"_json));
  EXPECT_EQ(compact(platform.basic_document), compact(R"({
      "basic": {"id": "-1", "task_name": null, "owner": null, "enabled": "off"},
      "schedule": {"min": null, "week_name": null, "repeat": null}, "app": "reshaped"})"_json));
  EXPECT_EQ(call("create", 1, R"({"type": "beep", "id": "12", "name": "new"})"_json),
            success(R"({"id": 12})"_json));
  EXPECT_TRUE(platform.tasks[12].name == "new" && platform.tasks.size() == 2);
}

}  // namespace
