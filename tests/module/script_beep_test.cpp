// Script and beep tasks.
#include "module/module_test.h"

namespace {

class ScriptBeepTest : public ModuleTest {
 protected:
  static Answer create(const char* type, const Json::Value& extra) {
    Json::Value parameters;
    parameters["type"] = type;
    parameters["extra"] = extra;
    platform.tasks.clear();
    take_calls();
    return call("create", 2, parameters);
  }
  static std::string extra(const char* parameters = R"({"id": 1})") {
    return compact(call("get", 1, json(parameters)).data["extra"]);
  }
};

TEST_F(ScriptBeepTest, ScriptStoresTheUsersTextAsTheCommand) {
  const std::string script = "cd /srv; echo \"$HOME\" 'x' \\\n#common:run#";
  Json::Value sent = R"({"more": [1]})"_json;
  sent["script"] = script;
  EXPECT_EQ(create("script", sent), success(R"({"id": 1})"_json));
  EXPECT_EQ(calls_of("Set"),
            (Lines{"SetEditForm KAVO.ZEL.TaskScheduler.Script.FormPanel", "SetSimpleEditForm 1",
                   "SetCanEditName 1", "SetCanEditOwner 1", "SetCanRunTaskSameTime 0",
                   "SetCanRunAppSameTime 1", "SetListable 1", "SetAppName #common:command_line#",
                   "SetApp KAVO.ZEL.TaskScheduler.Script", "SetAppArgs " + compact(sent),
                   "SetAction #common:run#: " + script, "SetCommand " + script}));
  EXPECT_EQ(extra(), compact(sent));
  for (const char* none : {"null", "{}", R"({"script": null})", R"({"script": ""})"}) {
    EXPECT_TRUE(create("script", json(none)).success);
    EXPECT_EQ(calls_of("SetA").back(), "SetAction #common:run#: ");
    EXPECT_EQ(calls_of("SetCommand"), Lines{"SetCommand "}) << none;
  }
  EXPECT_EQ(extra(R"({"id": -1, "type": "script"})"), "{\"script\":\"\"}\n");
  platform.add(1, kScript, "not JSON");
  EXPECT_EQ(extra(), "null\n");
}

TEST_F(ScriptBeepTest, BeepBringsItsDurationIntoRange) {
  // clang-format off
  for (const auto& [duration, seconds] : std::vector<std::pair<Json::Value, std::string>>{
           {30, "30"}, {1, "1"}, {0, "1"}, {-5, "1"}, {600, "600"}, {601, "600"}, {2147483647, "600"},
           {30.7, "30"}, {true, "1"}, {Json::Value(), "1"}}) {
    // clang-format on
    Json::Value sent = R"({"more": "kept"})"_json;
    sent["beep_duration"] = duration;
    EXPECT_EQ(create("beep", sent), success(R"({"id": 1})"_json));
    EXPECT_EQ(calls_of("Set"),
              (Lines{"SetEditForm KAVO.ZEL.TaskScheduler.Beep.FormPanel", "SetSimpleEditForm 1",
                     "SetCanEditName 1", "SetCanEditOwner 0", "SetCanRunAppSameTime 1",
                     "SetListable 1", "SetApp KAVO.ZEL.TaskScheduler.Beep",
                     "SetAppName #beep:beep_title#", "SetAppArgs " + compact(sent),
                     "SetAction #volume:beep_on# " + seconds + " #common:time_seconds#",
                     "SetCommand /tmp/kavoschedtool --beep " + seconds}));
    EXPECT_EQ(extra(), compact(sent));  // what was sent, not what was made of it
  }
  EXPECT_TRUE(create("beep", {}).success);
  EXPECT_EQ(platform.tasks[1].command, "/tmp/kavoschedtool --beep 1");
  EXPECT_EQ(extra(R"({"id": -1, "type": "beep"})"), "{\"beep_duration\":\"60\"}\n");
}

}  // namespace
