// Script and beep tasks.
#include "module/module_test.h"

namespace {

using ScriptTest = ModuleTest;
using BeepTest = ModuleTest;

Json::Value task_with(const char* type, const Json::Value& extra) {
  Json::Value parameters;
  parameters["type"] = type;
  parameters["extra"] = extra;
  return parameters;
}

// Text that the JSON reader gives up on with an exception.
std::string too_deep() {
  return std::string(1100, '[') + std::string(1100, ']');
}

TEST_F(ScriptTest, StoresTheUsersTextAsTheCommand) {
  const std::string script = "cd /srv; echo \"$HOME\" 'x' \\\n#common:run#";
  Json::Value extra = R"({"more": [1]})"_json;
  extra["script"] = script;
  EXPECT_EQ(call("create", 2, task_with("script", extra)), success(R"({"id": 1})"_json));
  EXPECT_EQ(setters(),
            (Lines{"SetEditForm KAVO.ZEL.TaskScheduler.Script.FormPanel", "SetSimpleEditForm 1",
                   "SetCanEditName 1", "SetCanEditOwner 1", "SetCanRunTaskSameTime 0",
                   "SetCanRunAppSameTime 1", "SetListable 1", "SetAppName #common:command_line#",
                   "SetApp KAVO.ZEL.TaskScheduler.Script", "SetAppArgs " + compact(extra),
                   "SetAction #common:run#: " + script, "SetCommand " + script}));
  EXPECT_EQ(compact(call("get", 1, R"({"id": 1})"_json).data["extra"]), compact(extra));
}

TEST_F(ScriptTest, NoScriptIsTheEmptyCommand) {
  for (const Json::Value& extra :
       {"null"_json, "{}"_json, R"({"script": null})"_json, R"({"script": ""})"_json}) {
    EXPECT_TRUE(call("create", 1, task_with("script", extra)).success);
    const Lines set = setters();
    ASSERT_EQ(set.size(), 12U);
    EXPECT_EQ(set[9], "SetAppArgs " + compact(extra));
    EXPECT_EQ(set[10], "SetAction #common:run#: ");
    EXPECT_EQ(set[11], "SetCommand ");
    take_calls();
  }
}

TEST_F(ScriptTest, GetAnswersWhatWasStored) {
  const Answer fresh = call("get", 1, R"({"id": -1, "type": "script"})"_json);
  EXPECT_EQ(compact(fresh.data["extra"]), "{\"script\":\"\"}\n");
  EXPECT_TRUE(fresh.data["can_edit_owner"].asBool());
  for (const auto& [arguments, extra] :
       {std::pair(R"({"script": "a", "b": [true]})", R"({"script": "a", "b": [true]})"),
        std::pair("", "null"), std::pair("not JSON", "null")}) {
    platform.add(1, kScript, arguments);
    const Answer answer = call("get", 1, R"({"id": 1})"_json);
    EXPECT_EQ(compact(answer.data["extra"]),
              compact(operator""_json(extra, std::char_traits<char>::length(extra))));
  }
}

TEST_F(ScriptTest, ExceptionsPassThroughAndLeaveNothing) {
  for (const Json::Value& extra :
       {R"({"script": {}})"_json, R"({"script": ["a"]})"_json, R"("text")"_json}) {
    EXPECT_THROW(call("create", 1, task_with("script", extra)), Json::Exception);
  }
  // A number has a text, but no C string.
  try {
    call("create", 1, task_with("script", R"({"script": 5})"_json));
  } catch (const Json::Exception&) {
    EXPECT_FALSE(saved());
  }
  platform.add(1, kScript, too_deep());
  EXPECT_THROW(call("get", 1, R"({"id": 1})"_json), Json::Exception);
}

TEST_F(BeepTest, StoresCommandAndAction) {
  const Json::Value extra = R"({"beep_duration": 30, "more": "kept"})"_json;
  EXPECT_EQ(call("create", 1, task_with("beep", extra)), success(R"({"id": 1})"_json));
  EXPECT_EQ(
      setters(),
      (Lines{"SetEditForm KAVO.ZEL.TaskScheduler.Beep.FormPanel", "SetSimpleEditForm 1",
             "SetCanEditName 1", "SetCanEditOwner 0", "SetCanRunAppSameTime 1", "SetListable 1",
             "SetApp KAVO.ZEL.TaskScheduler.Beep", "SetAppName #beep:beep_title#",
             "SetAppArgs " + compact(extra), "SetAction #volume:beep_on# 30 #common:time_seconds#",
             "SetCommand /tmp/kavoschedtool --beep 30"}));
}

TEST_F(BeepTest, DurationsAreBroughtIntoRange) {
  const std::vector<std::pair<Json::Value, std::string>> cases{
      {1, "1"},
      {0, "1"},
      {-5, "1"},
      {600, "600"},
      {601, "600"},
      {1000, "600"},
      {2147483647, "600"},
      {-2147483647 - 1, "1"},
      {30.7, "30"},
      {true, "1"},
      {Json::Value(), "1"},
  };
  for (const auto& [duration, seconds] : cases) {
    platform.tasks.clear();
    Json::Value extra;
    extra["beep_duration"] = duration;
    EXPECT_TRUE(call("create", 1, task_with("beep", extra)).success) << duration;
    EXPECT_EQ(platform.tasks[1].command, "/tmp/kavoschedtool --beep " + seconds);
    EXPECT_EQ(platform.tasks[1].action, "#volume:beep_on# " + seconds + " #common:time_seconds#");
    // What was sent comes back, not what was made of it.
    EXPECT_EQ(compact(call("get", 1, R"({"id": 1})"_json).data["extra"]), compact(extra));
  }
  platform.tasks.clear();
  EXPECT_TRUE(call("create", 1, R"({"type": "beep"})"_json).success);
  EXPECT_EQ(platform.tasks[1].command, "/tmp/kavoschedtool --beep 1");
  EXPECT_EQ(platform.tasks[1].app_args, "null\n");
}

TEST_F(BeepTest, NewTaskOffersAMinute) {
  const Answer answer = call("get", 2, R"({"id": -1, "type": "beep"})"_json);
  EXPECT_EQ(compact(answer.data["extra"]), "{\"beep_duration\":\"60\"}\n");
  EXPECT_FALSE(answer.data["can_edit_owner"].asBool());
}

TEST_F(BeepTest, ExceptionsPassThroughAndLeaveNothing) {
  for (const Json::Value& extra :
       {R"({"beep_duration": "60"})"_json, R"({"beep_duration": 3000000000})"_json,
        R"({"beep_duration": 1e300})"_json, R"({"beep_duration": []})"_json, "[]"_json}) {
    EXPECT_THROW(call("create", 1, task_with("beep", extra)), Json::Exception) << extra;
  }
  EXPECT_FALSE(saved());
  platform.add(1, kBeep, too_deep());
  EXPECT_THROW(call("get", 1, R"({"id": 1})"_json), Json::Exception);
}

}  // namespace
