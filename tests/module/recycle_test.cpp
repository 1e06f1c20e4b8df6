// Tasks that clean the recycle bins of shares, or switch them on or off.
#include <tuple>

#include "module/module_test.h"
#include "recycle_handler.h"

namespace {

const std::string kBasic = "KAVO.Core.TaskScheduler.Basic:";
const std::string kSource = "KAVO.Core.TaskScheduler.Recycle:";
const std::string kTool = "/usr/kavo/bin/kavorecycle";
const std::string kCleanAll = "#share:share_clean_all_recycle_bin#";

const Json::Value kClean = R"({"recycle_action": "2", "clean_all": "yes"})"_json;
const Json::Value kBySize = R"({
    "recycle_action": "2", "clean_all": "no", "selected_shares": ["a", "b"], "other": "stays",
    "clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "100",
    "clean_policy_by_size_sort_type": "Delete large files first",
    "advconfig": {
      "reserve_policy_size_greater_check": "on", "reserve_policy_size_greater": "5",
      "reserve_policy_size_smaller_check": "off", "reserve_policy_size_smaller": "6",
      "reserve_policy_extension_check": "on", "reserve_policy_extension": [{"file_ext": "jpg"}]}})"_json;

// What the form shows for it.
const Json::Value kForm = R"({
    "clean_share_policy": {"clean_all": false, "shares": ["a", "b"]},
    "clean_file_policy": {"policy": "size", "size": 100, "sort_type": 0, "reserve_policy": {
        "size_greater_check": true, "size_greater": 5, "size_smaller_check": false,
        "extension_check": true, "extension": [{"file_ext": "jpg"}]}}})"_json;

class RecycleTest : public ModuleTest {
 protected:
  // Sets task 12, whose stored section is `stored`, with the form's `extra`.
  static Answer set(const Json::Value& stored, const Json::Value& extra = Json::nullValue) {
    platform.add(12, kRecycle, compact(stored)).command = "earlier";
    Json::Value parameters = R"({"id": 12})"_json;
    parameters["extra"] = extra;
    take_calls();
    return call("set", 2, parameters);
  }
  static std::string command_of(const Json::Value& stored) {
    EXPECT_TRUE(set(stored).success) << stored;
    return platform.tasks[12].command;
  }
  // The section that is stored when the form sends `extra` for `stored`.
  static std::string merged(const Json::Value& stored, const Json::Value& extra) {
    EXPECT_TRUE(set(stored, extra).success) << extra;
    return platform.tasks[12].app_args;
  }
  static Json::Value shown(const Json::Value& stored) {
    platform.add(12, kRecycle, compact(stored));
    return call("get", 1, R"({"id": 12})"_json).data["extra"];
  }
};

TEST_F(RecycleTest, NewTask) {
  const Answer answer = call("get", 1, R"({"id": -1, "type": "recycle"})"_json);
  EXPECT_EQ(compact(answer.data["extra"]), compact(R"({
      "clean_share_policy": {"clean_all": true, "shares": null},
      "clean_file_policy": {"policy": "clean_all", "reserve_policy": {
          "size_greater_check": false, "size_smaller_check": false, "extension_check": false}}})"_json));
  EXPECT_EQ(call("create", 1, R"({"type": "recycle"})"_json), success(R"({"id": 1})"_json));
  EXPECT_EQ(calls_of("Set"),
            (Lines{"SetEditForm KAVO.ZEL.TaskScheduler.Recycle.FormPanel", "SetSimpleEditForm 1",
                   "SetCanEditName 1", "SetCanEditOwner 0", "SetCanRunAppSameTime 1",
                   "SetListable 1", "SetApp KAVO.ZEL.TaskScheduler.Recycle",
                   "SetAppName #share:recycle_bin#", "SetAppArgs " + compact(kClean),
                   "SetAction " + kCleanAll, "SetCommand " + kTool + " --clean"}));
}

TEST_F(RecycleTest, FormShape) {
  EXPECT_EQ(compact(shown(kBySize)), compact(with(kForm, R"({"other": "stays"})"_json)));
  // clang-format off
  for (const auto& [stored, policy] : std::vector<std::pair<const char*, Json::Value>>{
           {R"({"clean_policy": "clean_policy_by_time", "clean_policy_by_time_day": "30"})", R"({"policy": "time", "time": 30})"_json},
           {R"({"clean_policy": "clean_policy_by_time"})", R"({"policy": "time", "time": 0})"_json},
           {R"({"clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "-7x"})", R"({"policy": "size", "size": -7, "sort_type": 1})"_json},
           {R"({"clean_policy": "unknown"})", R"({"policy": "clean_all"})"_json}}) {
    // clang-format on
    Json::Value shape = shown(json(stored))["clean_file_policy"];
    shape.removeMember("reserve_policy");
    EXPECT_EQ(compact(shape), compact(policy)) << stored;
  }
  // Only the exact texts count.
  const Json::Value inexact = shown(R"({"clean_all": "Yes", "advconfig": {
      "reserve_policy_size_greater_check": "ON", "reserve_policy_size_smaller_check": true}})"_json);
  EXPECT_FALSE(inexact["clean_share_policy"]["clean_all"].asBool());
  EXPECT_FALSE(inexact["clean_file_policy"]["reserve_policy"]["size_greater_check"].asBool());
}

TEST_F(RecycleTest, FormIsMergedIntoTheStoredSection) {
  Json::Value all = kBySize;
  all["advconfig"].removeMember("reserve_policy_size_smaller");  // which is not on
  EXPECT_EQ(merged(with(kClean, R"({"other": "stays"})"_json), kForm), compact(all));
  // clang-format off
  for (const auto& [form, changed] : std::vector<std::pair<const char*, const char*>>{
           {R"({"clean_file_policy": {"policy": "time", "time": 3}})", R"({"clean_policy": "clean_policy_by_time", "clean_policy_by_time_day": "3"})"},
           {R"({"clean_file_policy": {"policy": "size", "sort_type": 1}})", R"({"clean_policy_by_size_sort_type": "Delete old files first"})"},
           {R"({"clean_file_policy": {"policy": "clean_all"}})", R"({"clean_policy": "clean_policy_default"})"},
           {R"({"clean_file_policy": {"policy": "Size"}})", R"({"clean_policy": "clean_policy_default"})"},
           {R"({"clean_share_policy": {"clean_all": true}})", R"({"clean_all": "yes"})"},
           // What the form leaves out or sends in a wrong type keeps its stored value.
           {"{}", "{}"}, {"null", "{}"},
           {R"({"clean_share_policy": {"clean_all": "yes", "shares": "a"}})", "{}"},
           {R"({"clean_share_policy": ["a"], "clean_file_policy": "time"})", "{}"},
           {R"({"clean_file_policy": {"policy": 5, "size": 1, "time": 1}})", "{}"},
           {R"({"clean_file_policy": {"policy": "size", "size": "1", "sort_type": "1", "reserve_policy": [true]}})", "{}"},
           {R"({"clean_file_policy": {"reserve_policy": {"size_greater_check": "off", "extension_check": null}}})", "{}"},
           {R"({"clean_file_policy": {"reserve_policy": {"size_greater_check": true, "size_greater": "7"}}})", "{}"},
           {R"({"clean_file_policy": {"reserve_policy": {"extension_check": true, "extension": "png"}}})", "{}"}}) {
    // clang-format on
    EXPECT_EQ(merged(kBySize, json(form)), compact(with(kBySize, json(changed)))) << form;
  }
}

TEST_F(RecycleTest, ActionsAndShares) {
  for (const auto& [number, text, option] :
       {std::tuple("0", "#share:share_disable_recycle_bin#:", " --disable"),
        std::tuple("1", "#share:share_enable_recycle_bin#:", " --enable"),
        std::tuple("2", "#schedule:clean_recycle_bin#:", " --clean")}) {
    Json::Value section = R"({"clean_all": "no", "selected_shares": ["a b", "c\""],
                              "clean_policy": "clean_policy_by_time", "clean_policy_by_time_day": "30"})"_json;
    section["recycle_action"] = number;
    const std::string time = *number == '2' ? " -t 30" : "";
    EXPECT_EQ(command_of(section), kTool + option + " a\\ b c\\\"" + time);
    EXPECT_EQ(platform.tasks[12].action, text + std::string(" \"a b\" \"c\"\""));
    section["clean_all"] = "any other";
    EXPECT_EQ(command_of(section), kTool + option + time);
    EXPECT_EQ(platform.tasks[12].action, kCleanAll);
  }
}

TEST_F(RecycleTest, CleanOptions) {
  // clang-format off
  for (const auto& [members, options] : std::vector<std::pair<const char*, std::string>>{
           {R"({"clean_policy": "clean_policy_default", "clean_policy_by_time_day": "3"})", ""},
           {R"({"clean_policy": "clean_policy_by_time", "clean_policy_by_time_day": "3d"})", " -t 3d"},
           {R"({"clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "100"})", " -s 104857600 -o 1"},
           {R"({"advconfig": {"reserve_policy_extension_check": "on", "reserve_policy_extension": []}})", ""},
           {R"({"advconfig": {"reserve_policy_extension_check": "on", "reserve_policy_extension": "jpg"}})", ""},
           {R"({"advconfig": {"reserve_policy_extension_check": "on", "reserve_policy_extension":
                [{"file_ext": ""}, {}, {"file_ext": "p g"}]}})", " -file_ext=\"..p g\""},
           {R"({"advconfig": {"reserve_policy_extension_check": "off", "reserve_policy_extension": [{"file_ext": "a"}],
                "reserve_policy_size_greater_check": "On", "reserve_policy_size_greater": "1"}})", ""},
           {R"({"clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "1",
                "clean_policy_by_size_sort_type": "Delete large files first", "advconfig": {
                "reserve_policy_size_smaller_check": "on", "reserve_policy_size_smaller": "1",
                "reserve_policy_size_greater_check": "on", "reserve_policy_size_greater": "2",
                "reserve_policy_extension_check": "on", "reserve_policy_extension": [{"file_ext": "a"}]}})",
            " -s 1048576 -o 2 -file_ext=\"a\" -m 2097152 -l 1048576"}}) {
    // clang-format on
    EXPECT_EQ(command_of(with(kClean, json(members))), kTool + " --clean" + options) << members;
  }
  // Byte counts wrap at 32 bits. Beyond 64 bits the number is the largest one.
  // clang-format off
  for (const auto& [megabytes, bytes] : std::vector<std::pair<const char*, std::string>>{
           {"2047", "2146435072"}, {"2048", "18446744071562067968"}, {"4095", "18446744073708503040"}, {"4096", "0"},
           {"4097", "1048576"}, {"-1", "18446744073708503040"}, {"", "0"}, {"many", "0"}, {" 3MB", "3145728"},
           {"99999999999999999999", "18446744073708503040"}, {"-99999999999999999999", "0"}}) {
    // clang-format on
    Json::Value section = kClean;
    section["advconfig"]["reserve_policy_size_greater_check"] = "on";
    section["advconfig"]["reserve_policy_size_greater"] = megabytes;
    EXPECT_EQ(command_of(section), kTool + " --clean -m " + bytes) << megabytes;
  }
}

TEST_F(RecycleTest, SectionsThatNameNoActionOrNoShares) {
  const std::string failed = kBasic + "260 Convert task from json (app) failed. [0x0000 :0]";
  const std::string action = "320 error recycle_action, json app=";
  const std::string shares = "325 error selected_shares, json app=";
  for (const auto& [text, log] : std::vector<std::pair<const char*, std::string>>{
           {R"({"recycle_action": "3", "clean_all": "yes"})", action},
           {R"({"clean_all": "yes"})", action},
           {R"({"recycle_action": "2", "clean_all": "no", "selected_shares": []})", shares},
           {R"({"recycle_action": "0", "clean_all": "no"})", shares},
           {R"({"recycle_action": "2", "clean_all": "no", "selected_shares": "a"})", shares}}) {
    EXPECT_EQ(set(json(text), R"({"enableRecycle": "all"})"_json),
              error(117, "Invalid (app) object"));
    EXPECT_EQ(take_log(), (Lines{kSource + log + json(text).toStyledString(), failed}));
    // The properties and the arguments were written before, action and command were not.
    EXPECT_EQ(calls_of("Set").size(), 9U);
    EXPECT_EQ(calls_of("KAVOShareEnum"), Lines());
  }
  platform.fail("KAVOSchedTaskLoad", 2);
  EXPECT_EQ(set(kClean, "{}"_json), error(4801, "Failed to load task"));
  EXPECT_EQ(take_log(),
            (Lines{kBasic + "108 load task failed. id:[12] [0x0A0B file.c:77]",
                   kBasic + "238 Convert task from json (app) failed. [0x0A0B file.c:77]"}));
}

TEST_F(RecycleTest, SwitchingOnWhenSaved) {
  platform.shares = {"music", "home work"};
  const std::string on = "KAVORecycleStatusSet ";
  const Lines all{on + "music 1", on + "home work 1"};
  for (const auto& [stored, request, expected] :
       std::vector<std::tuple<Json::Value, Json::Value, Lines>>{
           {kBySize, "select", {on + "a 1", on + "b 1"}},
           {kClean, "select", {}},
           {kClean, "all", all},
           {kBySize, "", all},
           {kClean, "all_include_home", {all[0], all[1], on + "home 1"}},
           {kClean, Json::Value(), {}}}) {
    Json::Value form;
    form["enableRecycle"] = request;
    EXPECT_EQ(merged(stored, form), compact(stored));  // the request is not stored
    EXPECT_EQ(calls_of(on), expected) << request;
  }
  merged(kClean, R"({"enableRecycle": "all"})"_json);
  EXPECT_EQ(calls_of("XLIBCSzListAlloc"), Lines{"XLIBCSzListAlloc 100"});
  EXPECT_EQ(calls_of("KAVOShareEnum"), Lines{"KAVOShareEnum 783"});

  // A failure does not fail the save.
  for (const auto& [operation, log, result] :
       {std::tuple("KAVORecycleStatusSet", "272 enable share=music recycle bin failed", true),
        std::tuple("XLIBCSzListAlloc", "254 malloc failed", false),
        std::tuple("KAVOShareEnum", "259 enum share failed", false)}) {
    platform.fail(operation);
    merged(kClean, R"({"enableRecycle": "all"})"_json);
    EXPECT_EQ(take_log(), Lines{kSource + log});
    EXPECT_EQ(calls_of(on), result ? all : Lines());
    Standalone<TaskSchedulerRecycleHandler> alone;
    platform.fail(operation);
    EXPECT_EQ(alone.handler.EnableRecycleBin("[]"_json, "all"), result);
    take_log();
  }
}

}  // namespace
