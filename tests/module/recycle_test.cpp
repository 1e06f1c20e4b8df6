// Tasks that clean the recycle bins of shares, or switch them on or off.
#include <algorithm>
#include <tuple>

#include "module/module_test.h"
#include "recycle_handler.h"

namespace {

const std::string kBasic = "KAVO.Core.TaskScheduler.Basic:";
const std::string kSource = "KAVO.Core.TaskScheduler.Recycle:";
const std::string kTool = "/usr/kavo/bin/kavorecycle";
const std::string kCleanAll = "#share:share_clean_all_recycle_bin#";

class RecycleTest : public ModuleTest {
 protected:
  // Sets task 12, whose stored section is `stored`, with the form's `extra`.
  static Answer set(const Json::Value& stored, const Json::Value& extra = Json::nullValue) {
    FakeTask& task = platform.add(12, kRecycle, compact(stored));
    task.command = "earlier";
    Json::Value parameters = R"({"id": 12})"_json;
    parameters["extra"] = extra;
    take_calls();
    return call("set", 2, parameters);
  }
  static std::string command_of(const Json::Value& stored) {
    EXPECT_EQ(set(stored), success(R"({"id": 12})"_json)) << stored;
    return platform.tasks[12].command;
  }
  // The section that is stored when the form sends `extra` for `stored`.
  static Json::Value merged(const Json::Value& stored, const Json::Value& extra) {
    EXPECT_EQ(set(stored, extra), success(R"({"id": 12})"_json)) << extra;
    Json::Value section;
    EXPECT_TRUE(Json::Reader().parse(platform.tasks[12].app_args, section));
    return section;
  }
  static Json::Value shown(const Json::Value& stored) {
    platform.add(12, kRecycle, compact(stored));
    return call("get", 1, R"({"id": 12})"_json).data["extra"];
  }
  // The shares that were switched, with the state.
  static Lines switched() {
    const std::string operation = "KAVORecycleStatusSet ";
    Lines found;
    for (const std::string& call : platform.calls) {
      if (call.starts_with(operation)) found.push_back(call.substr(operation.size()));
    }
    return found;
  }
};

const Json::Value kClean = R"({"recycle_action": "2", "clean_all": "yes"})"_json;
const Json::Value kNoReserve = R"({"size_greater_check": false, "size_smaller_check": false,
                                   "extension_check": false})"_json;

Json::Value with(Json::Value section, const Json::Value& members) {
  for (const std::string& name : members.getMemberNames()) section[name] = members[name];
  return section;
}

TEST_F(RecycleTest, NewTask) {
  const Answer answer = call("get", 1, R"({"id": -1, "type": "recycle"})"_json);
  EXPECT_EQ(compact(answer.data["extra"]), compact(R"({
      "clean_share_policy": {"clean_all": true, "shares": null},
      "clean_file_policy": {"policy": "clean_all", "reserve_policy": {
          "size_greater_check": false, "size_smaller_check": false, "extension_check": false}}
      })"_json));
  EXPECT_FALSE(answer.data["can_edit_owner"].asBool());

  EXPECT_EQ(call("create", 1, R"({"type": "recycle"})"_json), success(R"({"id": 1})"_json));
  EXPECT_EQ(setters(),
            (Lines{"SetEditForm KAVO.ZEL.TaskScheduler.Recycle.FormPanel", "SetSimpleEditForm 1",
                   "SetCanEditName 1", "SetCanEditOwner 0", "SetCanRunAppSameTime 1",
                   "SetListable 1", "SetApp KAVO.ZEL.TaskScheduler.Recycle",
                   "SetAppName #share:recycle_bin#", "SetAppArgs " + compact(kClean),
                   "SetAction " + kCleanAll, "SetCommand " + kTool + " --clean"}));
}

TEST_F(RecycleTest, FormShape) {
  const Json::Value by_size = R"({
      "recycle_action": "2", "clean_all": "no", "selected_shares": ["a", "b"], "other": "stays",
      "clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "100",
      "clean_policy_by_size_sort_type": "Delete large files first",
      "clean_policy_by_time_day": "9",
      "advconfig": {
        "reserve_policy_size_greater_check": "on", "reserve_policy_size_greater": "5",
        "reserve_policy_size_smaller_check": "off", "reserve_policy_size_smaller": "6",
        "reserve_policy_extension_check": "on",
        "reserve_policy_extension": [{"file_ext": "jpg"}]}})"_json;
  EXPECT_EQ(compact(shown(by_size)), compact(R"({
      "other": "stays",
      "clean_share_policy": {"clean_all": false, "shares": ["a", "b"]},
      "clean_file_policy": {"policy": "size", "size": 100, "sort_type": 0, "reserve_policy": {
          "size_greater_check": true, "size_greater": 5, "size_smaller_check": false,
          "extension_check": true, "extension": [{"file_ext": "jpg"}]}}})"_json));
}

TEST_F(RecycleTest, FormPolicies) {
  const std::vector<std::pair<Json::Value, Json::Value>> cases{
      {R"({"clean_policy": "clean_policy_by_time", "clean_policy_by_time_day": "30"})"_json,
       R"({"policy": "time", "time": 30})"_json},
      {R"({"clean_policy": "clean_policy_by_time"})"_json, R"({"policy": "time", "time": 0})"_json},
      {R"({"clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "7 MB",
           "clean_policy_by_size_sort_type": "delete large files first"})"_json,
       R"({"policy": "size", "size": 7, "sort_type": 1})"_json},
      {R"({"clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "-7x"})"_json,
       R"({"policy": "size", "size": -7, "sort_type": 1})"_json},
      {R"({"clean_policy": "clean_policy_default"})"_json, R"({"policy": "clean_all"})"_json},
      {R"({"clean_policy": "unknown"})"_json, R"({"policy": "clean_all"})"_json},
  };
  for (auto [stored, policy] : cases) {
    policy["reserve_policy"] = kNoReserve;
    EXPECT_EQ(compact(shown(stored)["clean_file_policy"]), compact(policy));
  }
  // Only the exact texts count.
  const Json::Value inexact = shown(R"({"clean_all": "Yes", "advconfig": {
      "reserve_policy_size_greater_check": "ON", "reserve_policy_size_smaller_check": true}})"_json);
  EXPECT_FALSE(inexact["clean_share_policy"]["clean_all"].asBool());
  EXPECT_EQ(compact(inexact["clean_file_policy"]["reserve_policy"]), compact(kNoReserve));
}

TEST_F(RecycleTest, FormIsMergedIntoTheStoredSection) {
  const Json::Value form = R"({
      "clean_share_policy": {"clean_all": false, "shares": ["a"]},
      "clean_file_policy": {"policy": "size", "size": 100, "sort_type": 1, "reserve_policy": {
          "size_greater_check": true, "size_greater": 5, "size_smaller_check": false,
          "size_smaller": 6, "extension_check": true, "extension": [{"file_ext": "jpg"}]}}})"_json;
  const Json::Value stored = R"({
      "recycle_action": "2", "clean_all": "no", "selected_shares": ["a"],
      "clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "100",
      "clean_policy_by_size_sort_type": "Delete old files first",
      "advconfig": {
        "reserve_policy_size_greater_check": "on", "reserve_policy_size_greater": "5",
        "reserve_policy_size_smaller_check": "off", "reserve_policy_extension_check": "on",
        "reserve_policy_extension": [{"file_ext": "jpg"}]}})"_json;
  EXPECT_EQ(compact(merged(kClean, form)), compact(stored));
  // What the form leaves out keeps its stored value.
  EXPECT_EQ(compact(merged(stored, "{}"_json)), compact(stored));
  EXPECT_EQ(compact(merged(stored, "null"_json)), compact(stored));
  EXPECT_EQ(compact(merged(stored, R"({"clean_file_policy": {"policy": "time", "time": 3}})"_json)),
            compact(with(stored, R"({"clean_policy": "clean_policy_by_time",
                                     "clean_policy_by_time_day": "3"})"_json)));
  EXPECT_EQ(compact(merged(stored, R"({"clean_share_policy": {"clean_all": true}})"_json)),
            compact(with(stored, R"({"clean_all": "yes"})"_json)));
  EXPECT_EQ(
      compact(merged(stored, R"({"clean_file_policy": {"policy": "size", "sort_type": 0}})"_json)),
      compact(with(stored, R"({"clean_policy_by_size_sort_type":
                               "Delete large files first"})"_json)));
  // "get" calls the default policy "clean_all"; "set" stores any other word under its own name.
  for (const char* word : {"clean_all", "", "Size"}) {
    Json::Value other;
    other["clean_file_policy"]["policy"] = word;
    EXPECT_EQ(merged(stored, other)["clean_policy"], "clean_policy_default") << word;
  }
}

TEST_F(RecycleTest, WrongTypesKeepTheStoredValues) {
  const Json::Value stored = R"({
      "recycle_action": "2", "clean_all": "yes", "selected_shares": ["a"],
      "clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "100",
      "clean_policy_by_size_sort_type": "Delete old files first",
      "advconfig": {
        "reserve_policy_size_greater_check": "on", "reserve_policy_size_greater": "5",
        "reserve_policy_size_smaller_check": "on", "reserve_policy_size_smaller": "6",
        "reserve_policy_extension_check": "on",
        "reserve_policy_extension": [{"file_ext": "jpg"}]}})"_json;
  for (const Json::Value& form :
       {R"({"clean_share_policy": {"clean_all": "no", "shares": "a"}})"_json,
        R"({"clean_share_policy": ["a"], "clean_file_policy": "time"})"_json,
        R"({"clean_file_policy": {"policy": 5, "size": 1, "time": 1}})"_json,
        R"({"clean_file_policy": {"policy": "size", "size": "1", "sort_type": "0"}})"_json,
        R"({"clean_file_policy": {"reserve_policy": [true]}})"_json,
        R"({"clean_file_policy": {"reserve_policy": {
            "size_greater_check": "off", "size_smaller_check": 0, "extension_check": null}}})"_json,
        R"({"clean_file_policy": {"reserve_policy": {
            "size_greater_check": true, "size_greater": "7", "size_smaller_check": true,
            "size_smaller": 7.5, "extension_check": true, "extension": "png"}}})"_json}) {
    EXPECT_EQ(compact(merged(stored, form)), compact(stored)) << form;
  }
}

TEST_F(RecycleTest, ActionsAndShares) {
  const std::vector<std::pair<const char*, std::pair<std::string, std::string>>> cases{
      {"0", {"#share:share_disable_recycle_bin#:", " --disable"}},
      {"1", {"#share:share_enable_recycle_bin#:", " --enable"}},
      {"2", {"#schedule:clean_recycle_bin#:", " --clean"}},
  };
  for (const auto& [number, texts] : cases) {
    Json::Value section = R"({"clean_all": "no", "selected_shares": ["a b", "c\""],
                              "clean_policy": "clean_policy_by_time",
                              "clean_policy_by_time_day": "30"})"_json;
    section["recycle_action"] = number;
    const bool cleans = texts.second == " --clean";
    EXPECT_EQ(command_of(section),
              kTool + texts.second + " a\\ b c\\\"" + (cleans ? " -t 30" : ""));
    EXPECT_EQ(platform.tasks[12].action, texts.first + " \"a b\" \"c\"\"");
    section["clean_all"] = "any other";
    EXPECT_EQ(command_of(section), kTool + texts.second + (cleans ? " -t 30" : ""));
    EXPECT_EQ(platform.tasks[12].action, kCleanAll);
  }
  EXPECT_EQ(switched(), Lines());
}

TEST_F(RecycleTest, CleanOptions) {
  const std::vector<std::pair<Json::Value, std::string>> cases{
      {"{}"_json, ""},
      {R"({"clean_policy": "clean_policy_default", "clean_policy_by_time_day": "3"})"_json, ""},
      {R"({"clean_policy": "clean_policy_by_time", "clean_policy_by_time_day": "3d"})"_json,
       " -t 3d"},
      {R"({"clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "100"})"_json,
       " -s 104857600 -o 1"},
      {R"({"clean_policy": "clean_policy_by_size", "clean_policy_by_size_MB_number": "1",
           "clean_policy_by_size_sort_type": "Delete large files first"})"_json,
       " -s 1048576 -o 2"},
      {R"({"advconfig": {"reserve_policy_extension_check": "on",
           "reserve_policy_extension": [{"file_ext": "jpg"}, {"file_ext": "p g"}]}})"_json,
       " -file_ext=\"jpg.p g\""},
      {R"({"advconfig": {"reserve_policy_extension_check": "on",
           "reserve_policy_extension": []}})"_json,
       ""},
      {R"({"advconfig": {"reserve_policy_extension_check": "on",
           "reserve_policy_extension": "jpg"}})"_json,
       ""},
      {R"({"advconfig": {"reserve_policy_extension_check": "on",
           "reserve_policy_extension": [{"file_ext": ""}, {}, {"file_ext": "jpg"}]}})"_json,
       " -file_ext=\"..jpg\""},
      {R"({"advconfig": {"reserve_policy_extension_check": "off",
           "reserve_policy_extension": [{"file_ext": "jpg"}],
           "reserve_policy_size_greater_check": "On", "reserve_policy_size_greater": "1"}})"_json,
       ""},
      {R"({"clean_policy": "clean_policy_by_time", "clean_policy_by_time_day": "3",
           "advconfig": {"reserve_policy_size_smaller_check": "on",
           "reserve_policy_size_smaller": "1", "reserve_policy_size_greater_check": "on",
           "reserve_policy_size_greater": "2", "reserve_policy_extension_check": "on",
           "reserve_policy_extension": [{"file_ext": "a"}]}})"_json,
       " -t 3 -file_ext=\"a\" -m 2097152 -l 1048576"},
  };
  const std::string clean = kTool + " --clean";
  for (const auto& [members, options] : cases) {
    EXPECT_EQ(command_of(with(kClean, members)), clean + options) << members;
  }
}

TEST_F(RecycleTest, ByteCountsWrapAt32Bits) {
  for (const auto& [megabytes, bytes] :
       {std::pair("2047", "2146435072"), std::pair("2048", "18446744071562067968"),
        std::pair("4095", "18446744073708503040"), std::pair("4096", "0"),
        std::pair("4097", "1048576"), std::pair("-1", "18446744073708503040"), std::pair("", "0"),
        std::pair("many", "0"), std::pair(" 3MB", "3145728"),
        // Beyond 64 bits the number is the largest one.
        std::pair("99999999999999999999", "18446744073708503040"),
        std::pair("-99999999999999999999", "0")}) {
    Json::Value section = kClean;
    section["advconfig"]["reserve_policy_size_greater_check"] = "on";
    section["advconfig"]["reserve_policy_size_greater"] = megabytes;
    EXPECT_EQ(command_of(section), kTool + " --clean -m " + bytes) << megabytes;
  }
}

TEST_F(RecycleTest, SectionsThatNameNoActionOrNoShares) {
  const std::string failed = kBasic + "260 Convert task from json (app) failed. [0x0000 :0]";
  const Answer refused = error(117, "Invalid (app) object");
  for (const Json::Value& stored :
       {R"({"recycle_action": "3", "clean_all": "yes"})"_json, R"({"recycle_action": ""})"_json,
        R"({"clean_all": "yes"})"_json}) {
    EXPECT_EQ(set(stored), refused);
    EXPECT_EQ(
        take_log(),
        (Lines{kSource + "320 error recycle_action, json app=" + stored.toStyledString(), failed}));
    EXPECT_EQ(platform.tasks[12].command, "earlier");
  }
  for (const Json::Value& stored :
       {R"({"recycle_action": "2", "clean_all": "no", "selected_shares": []})"_json,
        R"({"recycle_action": "0", "clean_all": "no"})"_json,
        R"({"recycle_action": "2", "clean_all": "no", "selected_shares": "a"})"_json}) {
    EXPECT_EQ(set(stored), refused);
    EXPECT_EQ(take_log(),
              (Lines{kSource + "325 error selected_shares, json app=" + stored.toStyledString(),
                     failed}));
  }
  // The properties and the arguments were written before, action and command were not.
  const Lines set_before = setters();
  ASSERT_EQ(set_before.size(), 9U);
  EXPECT_TRUE(set_before.back().starts_with("SetAppArgs "));
}

TEST_F(RecycleTest, StoredSectionThatCannotBeHad) {
  platform.fail("KAVOSchedTaskLoad", 2);
  EXPECT_EQ(set(kClean, "{}"_json), error(4801, "Failed to load task"));
  EXPECT_EQ(take_log(), (Lines{kBasic + "108 load task failed. id:[12]" + kCause,
                               kBasic + "238 Convert task from json (app) failed." + kCause}));
}

TEST_F(RecycleTest, SwitchingOnWhenSaved) {
  platform.shares = {"music", "home work"};
  const Json::Value selected = R"({"recycle_action": "1", "clean_all": "no",
                                   "selected_shares": ["x", "y"]})"_json;
  const std::vector<std::tuple<Json::Value, Json::Value, Lines>> cases{
      {selected, "select", {"x 1", "y 1"}},
      {kClean, "select", {}},
      {kClean, "all", {"music 1", "home work 1"}},
      {selected, "", {"music 1", "home work 1"}},
      {kClean, "all_include_home", {"music 1", "home work 1", "home 1"}},
      {kClean, Json::Value(), {}},
  };
  for (const auto& [stored, request, expected] : cases) {
    Json::Value form;
    form["enableRecycle"] = request;
    EXPECT_EQ(compact(merged(stored, form)), compact(stored));  // the request is not stored
    EXPECT_EQ(switched(), expected) << request;
  }
  merged(kClean, R"({"enableRecycle": "all"})"_json);
  const Lines& calls = platform.calls;
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "XLIBCSzListAlloc 100"), 1);
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "KAVOShareEnum 783"), 1);
  // A task whose section is refused switches nothing.
  EXPECT_FALSE(set(R"({"recycle_action": "9"})"_json, R"({"enableRecycle": "all"})"_json).success);
  EXPECT_EQ(switched(), Lines());
  take_log();
}

TEST_F(RecycleTest, FailedSwitchingDoesNotFailTheSave) {
  platform.shares = {"a", "b", "c"};
  const Json::Value form = R"({"enableRecycle": "all"})"_json;
  platform.fail("KAVORecycleStatusSet", 2);
  EXPECT_TRUE(set(kClean, form).success);
  EXPECT_EQ(switched(), (Lines{"a 1", "b 1", "c 1"}));
  EXPECT_EQ(take_log(), Lines{kSource + "272 enable share=b recycle bin failed"});

  platform.fail("XLIBCSzListAlloc");
  EXPECT_TRUE(set(kClean, form).success);
  EXPECT_EQ(take_log(), Lines{kSource + "254 malloc failed"});
  platform.fail("KAVOShareEnum");
  EXPECT_TRUE(set(kClean, form).success);
  EXPECT_EQ(take_log(), Lines{kSource + "259 enum share failed"});
  EXPECT_EQ(switched(), Lines());

  Standalone<TaskSchedulerRecycleHandler> alone;
  EXPECT_TRUE(alone.handler.EnableRecycleBin("[]"_json, "select"));
  platform.fail("KAVORecycleStatusSet");
  EXPECT_TRUE(alone.handler.EnableRecycleBin("[]"_json, "all"));
  platform.fail("KAVOShareEnum");
  EXPECT_FALSE(alone.handler.EnableRecycleBin("[]"_json, "all"));
  platform.fail("XLIBCSzListAlloc");
  EXPECT_FALSE(alone.handler.EnableRecycleBin("[]"_json, "all"));
  EXPECT_EQ(take_log().size(), 3U);
}

TEST_F(RecycleTest, ExceptionsPassThroughAndLeaveNothing) {
  EXPECT_THROW(shown(R"(["no section"])"_json), Json::Exception);
  EXPECT_THROW(shown(R"({"advconfig": "text"})"_json), Json::Exception);
  for (const Json::Value& members :
       {R"({"recycle_action": {}})"_json, R"({"clean_all": [1]})"_json,
        R"({"clean_all": "no", "selected_shares": [{}]})"_json,
        R"({"clean_policy": "clean_policy_by_time", "clean_policy_by_time_day": {}})"_json}) {
    EXPECT_THROW(set(with(kClean, members)), Json::Exception) << members;
  }
  platform.shares = {"a"};
  EXPECT_THROW(set(kClean, R"({"enableRecycle": {}})"_json), Json::Exception);
  EXPECT_FALSE(saved());
}

}  // namespace
