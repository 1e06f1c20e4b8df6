// The method table, and how entry functions choose a handler and leave its parser allocated.
#include <array>
#include <stdexcept>

#include "module/module_test.h"

namespace {

using EntryTest = ModuleTest;

// clang-format off
TEST_F(EntryTest, TableHasTenRowsAndATerminatingOne) {
  const std::array<KAVO::APIMethod, 10> rows{{
      {"", 1, "list", TaskSchedulerList_v1}, {"", 1, "set_enable", TaskSchedulerSetEnable_v1},
      {"", 1, "delete", TaskSchedulerDelete_v1}, {"", 1, "run", TaskSchedulerRun_v1},
      {"", 1, "get", TaskSchedulerGet_v1}, {"", 2, "get", TaskSchedulerGet_v2},
      {"", 1, "set", TaskSchedulerSet_v1}, {"", 2, "set", TaskSchedulerSet_v2},
      {"", 1, "create", TaskSchedulerCreate_v1}, {"", 2, "create", TaskSchedulerCreate_v2}}};
  // clang-format on
  const KAVO::APIMethod* row = GetAPITable();
  EXPECT_EQ(row, gTable);
  for (const KAVO::APIMethod& expected : rows) {
    EXPECT_STREQ(row->api, "KAVO.Core.TaskScheduler");
    ASSERT_STREQ(row->method, expected.method);
    EXPECT_EQ(row->version, expected.version) << expected.method;
    EXPECT_EQ(row++->handler, expected.handler) << expected.method;
  }
  EXPECT_TRUE(row->api == nullptr && row->version == 0 && row->method == nullptr &&
              row->handler == nullptr);
}

struct Request {
  const char* method;
  Json::Value parameters;
  int code = 0;
  Lines log{};
};

TEST_F(EntryTest, EveryRequestThatReachesAHandlerLeavesOneParser) {
  platform.add(12, kBeep, "{}");
  // clang-format off
  for (const Request& request : std::vector<Request>{
           {"list", "{}"_json}, {"set_enable", R"({"status": []})"_json}, {"delete", R"({"task": []})"_json},
           {"run", R"({"task": [12]})"_json}, {"run", "{}"_json, 4800}, {"get", R"({"id": 12})"_json},
           {"set", R"({"id": 12})"_json}, {"create", R"({"type": "beep"})"_json}}) {
    // clang-format on
    const int before = live_parsers();
    platform.parsed_paths.clear();
    EXPECT_EQ(call(request.method, 1, request.parameters, "de-DE").code, request.code);
    EXPECT_EQ(live_parsers(), before + 1) << request.method;
    EXPECT_EQ(platform.parsed_paths, Lines{"/usr/kavo/kavoman/webman/texts/de-DE"});
    EXPECT_THROW(call(request.method, 1, request.parameters, "throws"), std::runtime_error);
    EXPECT_EQ(live_parsers(), before + 1) << "one that cannot be built is released";
  }
}

// What "get" answers, and the app that "set" and "create" store, tell the handlers apart.
TEST_F(EntryTest, HandlerFollowsTheRequestsTypeOrTheStoredApp) {
  const char* stored =
      R"({"service_store": [{"name": "NTP", "service_type": 1}], "recycle_action": "2",
                           "service_action": "0", "script": "", "beep_duration": 1})";
  // clang-format off
  for (const auto& [app, type, sign] : std::vector<std::array<std::string, 3>>{
           {kBeep, "beep", "beep_duration"}, {kScript, "script", "script"},
           {kService, "service", "services"}, {kRecycle, "recycle", "clean_file_policy"}}) {
    // clang-format on
    SCOPED_TRACE(type);
    const Json::Value fresh = call("get", 1, json(R"({"id": -1, "type": ")" + type + "\"}")).data;
    EXPECT_TRUE(fresh["extra"].isMember(sign)) << fresh;
    EXPECT_EQ(fresh["can_edit_owner"].asBool(), type == "script");

    platform.add(12, app, stored);
    const Json::Value by_task = call("get", 1, R"({"id": 12})"_json).data;
    EXPECT_TRUE(by_task["extra"].isMember(sign)) << by_task;
    EXPECT_EQ(by_task["type"], type);

    take_calls();
    // A "type" in a "set" is one of the document's members, no more.
    EXPECT_EQ(call("set", 2, R"({"id": 12, "type": "custom"})"_json),
              success(R"({"id": 12})"_json));
    EXPECT_EQ(call("create", 2, json(R"({"type": ")" + type + "\"}")),
              success(R"({"id": 13})"_json));
    EXPECT_EQ(calls_of("SetApp "), Lines(2, "SetApp " + app));
    platform.tasks.erase(13);
  }
  for (const std::string type : {"custom", "report", "backup", "power", "zomupdate"}) {
    const Json::Value plain = call("get", 1, json(R"({"id": -1, "type": ")" + type + "\"}")).data;
    EXPECT_TRUE(plain["extra"].isNull()) << plain;
    EXPECT_EQ(plain["type"], type);
  }
  for (const char* app : {"KAVO.ZEL.BackupApp.S3Backup", "KAVO.ZEL.DataAnalysis", "", "another"}) {
    platform.add(12, app);
    take_calls();
    EXPECT_EQ(call("set", 2, R"({"id": 12})"_json), success(R"({"id": 12})"_json));
    EXPECT_EQ(calls_of("Set"), Lines()) << app;
  }
}

TEST_F(EntryTest, GetWithTypeDoesNotLookTheAppUp) {
  platform.add(12, kScript);
  EXPECT_EQ(call("get", 1, R"({"id": "12", "type": "beep"})"_json).data["type"], "beep");
  EXPECT_EQ(calls_of("KAVOSchedTaskLoad"), Lines(1, "KAVOSchedTaskLoad 12"));
  call("get", 1, R"({"id": 12})"_json);
  EXPECT_EQ(calls_of("KAVOSchedTaskLoad"), Lines(3, "KAVOSchedTaskLoad 12"));
}

TEST_F(EntryTest, RequestsThatReachNoHandler) {
  platform.add(12, kBeep, "{}");
  const std::string load_failed = std::string("lib:43 load task failed. id:[99]") + kNotStoredCause;
  // clang-format off
  const std::vector<Request> cases{
      {"get", "{}"_json, 4800, {}},
      {"get", R"({"id": "twelve"})"_json, 4800, {}},
      {"get", R"({"id": 12, "type": 5})"_json, 4800, {}},
      {"get", R"({"type": "beep"})"_json, 4800, {}},
      {"get", R"({"id": 99})"_json, 4801, {load_failed}},
      {"get", R"({"id": 12, "type": "Beep"})"_json, 4800, {"main:114 Unknown app type: Beep"}},
      {"get", R"({"id": 12, "type": ""})"_json, 4800, {"main:114 Unknown app type: "}},
      {"set", "{}"_json, 4800, {}},
      {"set", R"({"id": [12], "type": "beep"})"_json, 4800, {}},
      {"set", R"({"id": 99, "type": "beep"})"_json, 4801, {load_failed}},
      {"create", "{}"_json, 4800, {}},
      {"create", R"({"type": null})"_json, 4800, {}},
      {"create", R"({"type": "custom"})"_json, 4800, {"main:195 Unknown app type: custom"}},
      {"create", R"({"type": ""})"_json, 4800, {"main:195 Unknown app type: "}}};
  // clang-format on
  const int parsers = live_parsers();
  for (const Request& wrong : cases) {
    for (const int version : {1, 2}) {
      EXPECT_EQ(call(wrong.method, version, wrong.parameters), error(wrong.code))
          << wrong.method << wrong.parameters;
      EXPECT_EQ(take_log(), wrong.log);
    }
  }
  EXPECT_EQ(live_parsers(), parsers);
  EXPECT_FALSE(saved());
  platform.add(12).basic = R"({"app": {}})"_json;  // an exception passes through
  EXPECT_THROW(call("get", 1, R"({"id": 12})"_json), Json::Exception);
}

}  // namespace
