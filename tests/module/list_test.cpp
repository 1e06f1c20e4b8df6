// "list": sorting, paging, rows, and the names of services in action texts.
#include <climits>
#include <tuple>

#include "handler.h"
#include "module/module_test.h"

namespace {

const std::string kSource = "KAVO.Core.TaskScheduler:";

class ListTest : public ModuleTest {
 protected:
  static std::vector<int> ids(const Answer& answer) {
    std::vector<int> found;
    for (const Json::Value& row : answer.data["tasks"]) found.push_back(row["id"].asInt());
    return found;
  }
  // The action that "list" shows for a task that holds it.
  static std::string shown(const std::string& app, const std::string& action) {
    platform.tasks.clear();
    platform.add(1, app).action = action;
    return call("list", 1, "{}"_json).data["tasks"][0]["action"].asString();
  }
};

TEST_F(ListTest, EmptyStoreIsNotSorted) {
  const Answer empty = success(R"({"tasks": [], "total": 0})"_json);
  EXPECT_EQ(call("list", 1, R"({"sort_by": "id"})"_json), empty);
  FakeTask& hidden = platform.add(1);
  hidden.listable = false;
  EXPECT_EQ(call("list", 1, "{}"_json), empty);
  platform.add(2);
  EXPECT_EQ(ids(call("list", 1, "{}"_json)), std::vector<int>{2});
  EXPECT_EQ(platform.calls, Lines(3, "KAVOSchedTaskListGet"));
}

TEST_F(ListTest, SortsInTheStore) {
  platform.add(1);
  platform.add(2);
  const std::vector<std::pair<Json::Value, std::string>> cases{
      {"{}"_json, "next trigger time 1"},
      {R"({"sort_by": "enable"})"_json, "state 1"},
      {R"({"sort_by": "id", "sort_direction": "asc"})"_json, "id 1"},
      {R"({"sort_by": "type", "sort_direction": "desc"})"_json, "app name 0"},
      {R"({"sort_by": "name", "sort_direction": "DeSC"})"_json, "name 0"},
      {R"({"sort_by": "app_name", "sort_direction": "descending"})"_json, "app name 1"},
      {R"({"sort_by": "action", "sort_direction": ""})"_json, "action 1"},
      {R"({"sort_by": "next_trigger_time", "sort_direction": 1})"_json, "next trigger time 1"},
      {R"({"sort_by": "Name"})"_json, "next trigger time 1"},
      {R"({"sort_by": "next trigger time"})"_json, "next trigger time 1"},
      {R"({"sort_by": ["id"], "sort_direction": "desc"})"_json, "next trigger time 0"},
  };
  for (const auto& [parameters, sorted] : cases) {
    const Answer answer = call("list", 1, parameters);
    EXPECT_EQ(take_calls(), (Lines{"KAVOSchedTaskListGet", "KAVOSchedTaskListSort " + sorted}))
        << parameters;
    const bool descending = sorted.ends_with("0");
    EXPECT_EQ(ids(answer), (descending ? std::vector<int>{2, 1} : std::vector<int>{1, 2}));
  }
}

TEST_F(ListTest, Pages) {
  for (const int id : {1, 2, 3}) platform.add(id);
  const std::vector<int> all{1, 2, 3};
  const std::vector<int> none;
  const std::vector<std::tuple<Json::Value, Json::Value, std::vector<int>>> cases{
      {0, -1, all},
      {1, -1, {2, 3}},
      {1, 1, {2}},
      {0, 2, {1, 2}},
      {2, 5, {3}},
      {0, 0, none},
      {5, -1, none},
      {5, 2, none},
      {5, -3, none},
      // Below zero: a page that starts before the first task, or an end that is never met.
      {-2, 3, {1}},
      {-2, 2, none},
      {-2, -1, all},
      {0, -5, all},
      {INT_MIN, -1, all},
      {INT_MIN, INT_MAX, all},
      {INT_MIN, INT_MIN, all},
      {INT_MAX, 1, none},
      {INT_MAX, INT_MAX, none},
      {INT_MAX, INT_MIN, none},
      {0, INT_MAX, all},
      {0, INT_MIN, all},
      // Unreadable values count as none, numbers may come as text.
      {"x", 3000000000U, all},
      {1.5, "1", {1}},
  };
  for (const auto& [offset, limit, expected] : cases) {
    Json::Value parameters;
    parameters["offset"] = offset;
    parameters["limit"] = limit;
    const Answer answer = call("list", 1, parameters);
    EXPECT_EQ(ids(answer), expected) << parameters;
    EXPECT_EQ(answer.data["tasks"].type(), Json::arrayValue);
    EXPECT_EQ(answer.data["total"].asInt(), 3);
  }
}

TEST_F(ListTest, Rows) {
  platform.strings[kDesktopStrings] = R"({"app": {"name": "Snapshots", "make": "Make"}})"_json;
  platform.strings["/usr/kavo/kavoman/webman/own/en"] = R"({"app": {"make": "Own make"}})"_json;
  platform.app_locations["own.app"] = "own/en";
  FakeTask& own = platform.add(1, "own.app");
  own.app_name = "#app:name#";
  own.action = "#app:make# it";
  own.next_trigger_time = "2026-01-02 03:04";
  FakeTask& report = platform.add(2, "KAVO.ZEL.DataAnalysis");
  report.app_name = "#app:name#";
  report.action = "#app:make# it, FTP";
  report.enabled = report.can_run = false;
  FakeTask& beep = platform.add(3, kBeep);
  beep.can_delete = beep.can_edit = false;
  EXPECT_EQ(call("list", 1, "{}"_json), success(R"({"total": 3, "tasks": [
      {"enable": true, "id": 1, "name": "task 1", "type": "custom", "app_name": "Snapshots",
       "can_run": true, "can_delete": true, "can_edit": true, "action": "Own make it",
       "next_trigger_time": "2026-01-02 03:04"},
      {"enable": false, "id": 2, "name": "task 2", "type": "report",
       "can_run": false, "can_delete": true, "can_edit": true, "action": "Make it, FTP",
       "next_trigger_time": "-"},
      {"enable": true, "id": 3, "name": "task 3", "type": "beep",
       "can_run": true, "can_delete": false, "can_edit": false, "action": "",
       "next_trigger_time": "-"}]})"_json));
}

TEST_F(ListTest, ServiceNamesBecomeKeys) {
  const std::vector<std::pair<const char*, const char*>> cases{
      {"Samba", "#network:wnds_file_service#"},
      {"AFP", "#network:apple_subject#"},
      {"NFS", "#nfs:nfs_title#"},
      {"BonjourPrinter", "#network:bonjourPrinter_subject#"},
      {"AutoBlock", "#tree:leaf_autoblock#"},
      {"FTPES", "#tree:leaf_ftpes#"},
      {"SFTP", "#tree:leaf_sftp#"},
      {"FTP", "#tree:leaf_ftp#"},
      {"WebVane", "#tree:leaf_service#"},
      {"SecureWebDAV", "#tree:leaf_webdav# (HTTPS)"},
      {"WebDAV", "#tree:leaf_webdav#"},
      {"SecureFileVane", "#tree:leaf_filevane# (HTTPS)"},
      {"FileVane", "#tree:leaf_filevane#"},
      {"NTP", "#time:ntp_service#"},
      {"samba", "samba"},
      {"\"FTP\" \"SFTP\" \"FTP\"", "\"#tree:leaf_ftp#\" \"#tree:leaf_sftp#\" \"#tree:leaf_ftp#\""},
  };
  std::string every;
  std::string every_key;
  for (const auto& [name, key] : cases) {
    EXPECT_EQ(shown(kService, name), key);
    every += std::string(" ") + name;
    every_key += std::string(" ") + key;
    EXPECT_EQ(shown(kScript, name), name);
  }
  EXPECT_EQ(shown(kService, every), every_key);

  platform.strings[kDesktopStrings] = R"({"tree": {"leaf_webdav": "Web folders"}})"_json;
  EXPECT_EQ(shown(kService, "start: \"SecureWebDAV\""), "start: \"Web folders (HTTPS)\"");
}

TEST_F(ListTest, LongServiceActions) {
  const std::string key = "#tree:leaf_ftp#";
  const std::string failed = kSource + "78 replace string failed";
  // The longest action that fits with its key, and one byte more.
  const std::string fits(4095 - key.size(), 'x');
  EXPECT_EQ(shown(kService, "FTP" + fits), key + fits);
  EXPECT_EQ(take_log(), Lines());
  EXPECT_EQ(shown(kService, "FTPx" + fits), "FTPx" + fits);
  EXPECT_EQ(take_log(), Lines{failed});
  // Each pair whose text occurs is tried, also after one that failed.
  EXPECT_EQ(shown(kService, "SFTP" + fits), "SFTP" + fits);
  EXPECT_EQ(take_log(), (Lines{failed, failed}));
  // A name beyond the buffer, or across its end: the text is cut, and nothing is found in it.
  const std::string full(4095, 'x');
  EXPECT_EQ(shown(kService, full + "FTP"), full);
  EXPECT_EQ(shown(kService, full.substr(2) + "FTP"), full.substr(2) + "FT");
  // Without a name, nothing is copied or cut.
  EXPECT_EQ(shown(kService, full + full), full + full);
  EXPECT_EQ(shown(kScript, full + "FTP"), full + "FTP");
}

TEST_F(ListTest, FailedReplacementLeavesTheActionAndGoesOn) {
  platform.fail("XLIBCStrReplace", 2);
  EXPECT_EQ(shown(kService, "AFP NFS NTP"), "#network:apple_subject# NFS #time:ntp_service#");
  EXPECT_EQ(take_log(), Lines{kSource + "78 replace string failed"});
}

TEST_F(ListTest, StoreFailures) {
  platform.add(1);
  platform.add(2);
  platform.fail("KAVOSchedTaskListGet");
  EXPECT_EQ(call("list", 1, "{}"_json), error(117, "get task list failed"));
  EXPECT_EQ(take_log(), Lines{kSource + "160 get task list failed." + kCause});
  EXPECT_EQ(take_calls(), Lines{"KAVOSchedTaskListGet"});

  platform.fail("KAVOSchedTaskListSort", 1, {0x12345, "sort.c", 8});
  EXPECT_EQ(call("list", 1, "{}"_json), error(117, "sort task list failed"));
  EXPECT_EQ(take_log(), Lines{kSource + "173 sort task list failed. [0x12345 sort.c:8]"});

  // What the operation leaves in the result, though a failure does not answer it.
  Standalone<TaskSchedulerHandler> alone;
  platform.fail("KAVOSchedTaskListSort");
  Json::Value result;
  EXPECT_FALSE(alone.handler.ListData_v1(result));
  EXPECT_EQ(compact(result), "{\"tasks\":[],\"total\":2}\n");
  take_log();
}

}  // namespace
