// The method table, and how entry functions choose a handler and leave its parser allocated.
#include <algorithm>
#include <array>
#include <stdexcept>

#include "module/module_test.h"

namespace {

using EntryTest = ModuleTest;

struct Row {
  int version;
  const char* method;
  void (*handler)(KAVO::APIRequest*, KAVO::APIResponse*);
};

TEST_F(EntryTest, TableHasTenRowsAndATerminatingOne) {
  const std::array<Row, 10> rows{{{1, "list", TaskSchedulerList_v1},
                                  {1, "set_enable", TaskSchedulerSetEnable_v1},
                                  {1, "delete", TaskSchedulerDelete_v1},
                                  {1, "run", TaskSchedulerRun_v1},
                                  {1, "get", TaskSchedulerGet_v1},
                                  {2, "get", TaskSchedulerGet_v2},
                                  {1, "set", TaskSchedulerSet_v1},
                                  {2, "set", TaskSchedulerSet_v2},
                                  {1, "create", TaskSchedulerCreate_v1},
                                  {2, "create", TaskSchedulerCreate_v2}}};
  const KAVO::APIMethod* row = GetAPITable();
  EXPECT_EQ(row, gTable);
  for (const Row& expected : rows) {
    ASSERT_NE(row->api, nullptr) << expected.method;
    EXPECT_STREQ(row->api, "KAVO.Core.TaskScheduler");
    EXPECT_EQ(row->version, expected.version) << expected.method;
    EXPECT_STREQ(row->method, expected.method);
    EXPECT_EQ(row->handler, expected.handler) << expected.method;
    ++row;
  }
  EXPECT_EQ(row->api, nullptr);
  EXPECT_EQ(row->version, 0);
  EXPECT_EQ(row->method, nullptr);
  EXPECT_EQ(row->handler, nullptr);
}

TEST_F(EntryTest, EveryRequestThatReachesAHandlerLeavesOneParser) {
  platform.add(12, kBeep, "{}");
  struct Request {
    const char* method;
    int version;
    Json::Value parameters;
  };
  const std::vector<Request> requests{
      {"list", 1, "{}"_json},
      {"set_enable", 1, R"({"status": []})"_json},
      {"delete", 1, R"({"task": []})"_json},
      {"run", 1, R"({"task": [12]})"_json},
      {"run", 1, "{}"_json},  // the handler's own error answer
      {"get", 1, R"({"id": 12})"_json},
      {"get", 2, R"({"id": 13, "type": "beep"})"_json},
      {"set", 1, R"({"id": 12})"_json},
      {"set", 2, R"({"id": 12})"_json},
      {"create", 1, R"({"type": "beep"})"_json},
      {"create", 2, R"({"type": "beep"})"_json},
  };
  for (const Request& request : requests) {
    const int before = live_parsers();
    platform.parsed_paths.clear();
    call(request.method, request.version, request.parameters, "de-DE");
    EXPECT_EQ(live_parsers(), before + 1) << request.method;
    EXPECT_EQ(platform.parsed_paths, Lines{"/usr/kavo/kavoman/webman/texts/de-DE"});
  }
  EXPECT_EQ(take_log(), Lines{std::string("KAVO.Core.TaskScheduler.Basic:151 load task failed. ") +
                              "id:[13] [0x0404 store.c:9]"});
}

TEST_F(EntryTest, ParserThatCannotBeBuiltIsReleased) {
  const int before = live_parsers();
  for (const char* method : {"list", "run", "get"}) {
    EXPECT_THROW(call(method, 1, R"({"id": -1, "type": "beep"})"_json, "throws"),
                 std::runtime_error);
  }
  EXPECT_EQ(live_parsers(), before);
  EXPECT_EQ(platform.calls, Lines());
}

// What "get" answers tells the handlers apart.
TEST_F(EntryTest, GetFollowsTheRequestsTypeAndElseTheStoredApp) {
  struct Case {
    const char* app;
    const char* type;
    const char* sign;  // in the answer's "extra"
  };
  const std::array<Case, 4> own_form{{{kBeep, "beep", "beep_duration"},
                                      {kScript, "script", "script"},
                                      {kService, "service", "services"},
                                      {kRecycle, "recycle", "clean_file_policy"}}};
  for (const Case& app : own_form) {
    Json::Value parameters = R"({"id": -1})"_json;
    parameters["type"] = app.type;
    take_calls();
    const Answer answer = call("get", 1, parameters);
    EXPECT_TRUE(answer.data["extra"].isMember(app.sign)) << answer;
    EXPECT_EQ(answer.data["can_edit_owner"].asBool(), std::string(app.type) == "script");

    const char* stored = R"({"service_store": [], "service_action": "0", "script": "",
                             "beep_duration": 1})";
    platform.add(12, app.app, stored);
    const Answer by_task = call("get", 1, R"({"id": 12})"_json);
    EXPECT_TRUE(by_task.data["extra"].isMember(app.sign)) << by_task;
    EXPECT_EQ(by_task.data["type"], app.type);
  }
  for (const char* type : {"custom", "report", "backup", "power", "zomupdate"}) {
    Json::Value parameters = R"({"id": -1})"_json;
    parameters["type"] = type;
    const Answer answer = call("get", 1, parameters);
    EXPECT_EQ(compact(answer.data["extra"]), "null\n") << answer;
    EXPECT_EQ(answer.data["type"], type);
  }
}

TEST_F(EntryTest, GetWithTypeDoesNotLookTheAppUp) {
  platform.add(12, kScript, R"({"script": "date"})");
  const Answer answer = call("get", 1, R"({"id": "12", "type": "beep"})"_json);
  EXPECT_TRUE(answer.success);
  EXPECT_EQ(answer.data["type"], "beep");
  const Lines once{"KAVOSchedTaskAlloc", "KAVOSchedTaskLoad 12", "KAVOSchedTaskConvertToJson_Basic",
                   "KAVOSchedTaskConvertToJson_Schedule"};
  EXPECT_EQ(take_calls(), once);

  call("get", 1, R"({"id": 12})"_json);
  Lines twice{"KAVOSchedTaskAlloc", "KAVOSchedTaskLoad 12", "KAVOSchedTaskConvertToJson_Basic"};
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(take_calls(), twice);
}

TEST_F(EntryTest, SetFollowsTheStoredAppAndCreateTheType) {
  for (const auto& [app, type] : {std::pair(kBeep, "beep"), std::pair(kScript, "script"),
                                  std::pair(kRecycle, "recycle"), std::pair(kService, "service")}) {
    platform.add(12, app, R"({"recycle_action": "2", "service_action": "0",
                              "service_store": [{"name": "NTP", "service_type": 1}]})");
    take_calls();
    // A "type" in a "set" is one of the document's members, no more.
    EXPECT_EQ(call("set", 2, R"({"id": 12, "type": "custom"})"_json),
              success(R"({"id": 12})"_json));
    const std::string set_app = std::string("SetApp ") + app;
    EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), set_app), 1) << type;

    take_calls();
    Json::Value parameters;
    parameters["type"] = type;
    EXPECT_EQ(call("create", 2, parameters), success(R"({"id": 13})"_json));
    EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), set_app), 1) << type;
    platform.tasks.erase(13);
  }
  for (const char* app : {"KAVO.ZEL.BackupApp.S3Backup", "KAVO.ZEL.DataAnalysis", "", "another",
                          "KAVO.ZEL.TaskScheduler.AutoPower"}) {
    platform.add(12, app);
    take_calls();
    EXPECT_EQ(call("set", 2, R"({"id": 12})"_json), success(R"({"id": 12})"_json));
    EXPECT_EQ(setters(), Lines()) << app;
  }
}

TEST_F(EntryTest, RequestsThatReachNoHandler) {
  platform.add(12, kBeep, "{}");
  struct Case {
    const char* method;
    Json::Value parameters;
    int code;
    Lines log;
  };
  const std::string load_failed = "lib:43 load task failed. id:[99] [0x0404 store.c:9]";
  const std::vector<Case> cases{
      {"get", "{}"_json, 4800, {}},
      {"get", R"({"id": "twelve"})"_json, 4800, {}},
      {"get", R"({"id": 3000000000})"_json, 4800, {}},
      {"get", R"({"id": 12, "type": 5})"_json, 4800, {}},
      {"get", R"({"type": "beep"})"_json, 4800, {}},
      {"get", R"({"id": 99})"_json, 4801, {load_failed}},
      {"get", R"({"id": 12, "type": "Beep"})"_json, 4800, {"main:114 Unknown app type: Beep"}},
      {"get", R"({"id": 12, "type": "beep "})"_json, 4800, {"main:114 Unknown app type: beep "}},
      {"get", R"({"id": 12, "type": ""})"_json, 4800, {"main:114 Unknown app type: "}},
      {"set", "{}"_json, 4800, {}},
      {"set", R"({"id": [12], "type": "beep"})"_json, 4800, {}},
      {"set", R"({"id": 99, "type": "beep"})"_json, 4801, {load_failed}},
      {"create", "{}"_json, 4800, {}},
      {"create", R"({"type": null})"_json, 4800, {}},
      {"create", R"({"type": "custom"})"_json, 4800, {"main:195 Unknown app type: custom"}},
      {"create", R"({"type": "Script"})"_json, 4800, {"main:195 Unknown app type: Script"}},
      {"create", R"({"type": ""})"_json, 4800, {"main:195 Unknown app type: "}},
  };
  const int parsers = live_parsers();
  for (const Case& wrong : cases) {
    for (const int version : {1, 2}) {
      EXPECT_EQ(call(wrong.method, version, wrong.parameters), bare_error(wrong.code))
          << wrong.method << wrong.parameters;
      EXPECT_EQ(take_log(), wrong.log);
    }
  }
  EXPECT_EQ(live_parsers(), parsers);
  EXPECT_EQ(platform.parsed_paths, Lines());
  EXPECT_FALSE(saved());
}

TEST_F(EntryTest, ExceptionWhileLookingTheAppUpPassesThrough) {
  platform.add(12).basic = R"({"app": {}})"_json;
  EXPECT_THROW(call("get", 1, R"({"id": 12})"_json), Json::Exception);
  EXPECT_THROW(call("set", 1, R"({"id": 12})"_json), Json::Exception);
}

}  // namespace
