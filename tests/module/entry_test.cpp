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
      {"", 1, "delete", TaskSchedulerDelete_v1}, {"", 1, "run", TaskSchedulerRun_v1}, {"", 1, "get", TaskSchedulerGet_v1},
      {"", 2, "get", TaskSchedulerGet_v2}, {"", 1, "set", TaskSchedulerSet_v1}, {"", 2, "set", TaskSchedulerSet_v2},
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

TEST_F(EntryTest, EveryRequestThatReachesAHandlerLeavesOneParser) {
  platform.add(12, kBeep, "{}");
  const Json::Value parameters = R"({"id": 12, "task": [12], "status": 5, "type": "beep"})"_json;
  for (const char* method : {"list", "set_enable", "run", "get", "set", "create", "delete"}) {
    const int before = live_parsers();
    platform.parsed_paths.clear();
    EXPECT_EQ(call(method, 1, parameters, "de-DE").success, method != std::string("set_enable"));
    EXPECT_EQ(live_parsers(), before + 1) << method;
    EXPECT_EQ(platform.parsed_paths, Lines{"/usr/kavo/kavoman/webman/texts/de-DE"});
    platform.add(12, kBeep, "{}");
    EXPECT_THROW(call(method, 1, parameters, "throws"), std::runtime_error);
    EXPECT_EQ(live_parsers(), before + 1) << "one that cannot be built is released";
  }
  const int before = live_parsers();
  call("create", 1, R"({"type": "custom"})"_json);
  EXPECT_EQ(live_parsers(), before);
  EXPECT_EQ(take_log(), Lines{"main:195 Unknown app type: custom"});
}

TEST_F(EntryTest, HandlerFollowsTheRequestsTypeOrTheStoredApp) {
  const char* stored = R"({"service_store": [{"name": "NTP", "service_type": 1}],
      "recycle_action": "2", "service_action": "0", "script": "", "beep_duration": 1})";
  // clang-format off
  for (const auto& [app, type, sign] : std::vector<std::array<std::string, 3>>{  // of the form's section
           {kBeep, "beep", "beep_duration"}, {kScript, "script", "script"}, {kService, "service", "services"},
           {kRecycle, "recycle", "clean_file_policy"}, {"KAVO.ZEL.DataAnalysis", "report", ""},
           {"KAVO.ZEL.BackupApp.NetBackup", "backup", ""}, {"KAVO.ZEL.BackupApp.LocalBackup", "backup", ""},
           {"KAVO.ZEL.BackupApp.LUNBackup", "backup", ""}, {"KAVO.ZEL.BackupApp.S3Backup", "backup", ""},
           {"KAVO.ZEL.TaskScheduler.AutoPower", "power", ""}, {"KAVO.ZEL.TaskScheduler.ZOMAutoUpdate", "zomupdate", ""},
           {"", "custom", ""}, {"KAVO.ZEL.TaskScheduler.beep", "custom", ""},
           {"KAVO.ZEL.TaskScheduler.Beep.FormPanel", "custom", ""}}) {
    // clang-format on
    SCOPED_TRACE(app);
    platform.add(12, app, stored);
    const Json::Value fresh = call("get", 1, json(R"({"id": -1, "type": ")" + type + "\"}")).data;
    const Json::Value by_task = call("get", 1, R"({"id": 12})"_json).data;
    EXPECT_TRUE(by_task["type"] == type && fresh["type"] == type) << by_task;
    EXPECT_EQ(fresh["can_edit_owner"].asBool(), type == "script");
    EXPECT_EQ(fresh["extra"].isNull(), sign.empty());
    EXPECT_TRUE(sign.empty() || (fresh["extra"].isMember(sign) && by_task["extra"].isMember(sign)));
    // A "type" in a "set" is one of the document's members, no more.
    take_calls();
    EXPECT_EQ(call("set", 2, R"({"id": 12, "type": "beep"})"_json), success(R"({"id": 12})"_json));
    EXPECT_EQ(calls_of("SetApp "), sign.empty() ? Lines() : Lines{"SetApp " + app});
  }
  // With a type the app is not looked up.
  take_calls();
  EXPECT_EQ(call("get", 1, R"({"id": "12", "type": "beep"})"_json).data["type"], "beep");
  EXPECT_EQ(calls_of("KAVOSchedTaskLoad"), Lines{"KAVOSchedTaskLoad 12"});
}

}  // namespace
