// "list": sorting, paging, rows, and the names of services in action texts.
#include <climits>
#include <tuple>

#include "module/module_test.h"

namespace {

class ListTest : public ModuleTest {
 protected:
  static std::string ids(const Answer& answer) {
    std::string found;
    for (const Json::Value& row : answer.data["tasks"]) found += row["id"].asString();
    EXPECT_TRUE(answer.data["tasks"].isArray());
    return found;
  }
  // The action that "list" shows for a task that holds it.
  static std::string shown(const std::string& app, const std::string& action) {
    platform.tasks.clear();
    platform.add(1, app).action = action;
    return call("list", 1, "{}"_json).data["tasks"][0]["action"].asString();
  }
};

TEST_F(ListTest, SortsInTheStoreWhatIsListable) {
  EXPECT_EQ(call("list", 1, R"({"sort_by": "id"})"_json),
            success(R"({"tasks": [], "total": 0})"_json));
  platform.add(1).listable = false;
  platform.add(2);
  EXPECT_EQ(ids(call("list", 1, "{}"_json)), "2");
  EXPECT_EQ(take_calls(), Lines(2, "KAVOSchedTaskListGet"));
  platform.add(1).listable = true;
  // clang-format off
  for (const auto& [parameters, sorted] : std::vector<std::pair<const char*, std::string>>{
           {"{}", "next trigger time 1"},
           {R"({"sort_by": "enable"})", "state 1"},
           {R"({"sort_by": "id", "sort_direction": "asc"})", "id 1"},
           {R"({"sort_by": "type", "sort_direction": "desc"})", "app name 0"},
           {R"({"sort_by": "name", "sort_direction": "DeSC"})", "name 0"},
           {R"({"sort_by": "app_name", "sort_direction": "descending"})", "app name 1"},
           {R"({"sort_by": "action", "sort_direction": ""})", "action 1"},
           {R"({"sort_by": "next_trigger_time", "sort_direction": 1})", "next trigger time 1"},
           {R"({"sort_by": "Name"})", "next trigger time 1"},
           {R"({"sort_by": ["id"], "sort_direction": "desc"})", "next trigger time 0"}}) {
    // clang-format on
    EXPECT_EQ(ids(call("list", 1, json(parameters))), sorted.ends_with("0") ? "21" : "12");
    EXPECT_EQ(take_calls(), (Lines{"KAVOSchedTaskListGet", "KAVOSchedTaskListSort " + sorted}))
        << parameters;
  }
}

TEST_F(ListTest, Pages) {
  for (const int id : {1, 2, 3}) platform.add(id);
  // clang-format off
  const std::vector<std::tuple<Json::Value, Json::Value, std::string>> cases{
      {0, -1, "123"}, {1, -1, "23"}, {1, 1, "2"}, {0, 2, "12"}, {2, 5, "3"}, {0, 0, ""}, {5, -1, ""}, {5, -3, ""},
      // Below zero: a page that starts before the first task, or an end that is never met.
      {-2, 3, "1"}, {-2, 2, ""}, {-2, -1, "123"}, {0, -5, "123"}, {INT_MIN, INT_MAX, "123"},
      {INT_MIN, INT_MIN, "123"}, {INT_MAX, 1, ""}, {INT_MAX, INT_MAX, ""}, {INT_MAX, INT_MIN, ""},
      // Unreadable values count as none, numbers may come as text.
      {"x", 3000000000U, "123"}, {1.5, "1", "1"}};
  // clang-format on
  for (const auto& [offset, limit, expected] : cases) {
    Json::Value parameters;
    parameters["offset"] = offset;
    parameters["limit"] = limit;
    const Answer answer = call("list", 1, parameters);
    EXPECT_EQ(ids(answer), expected) << parameters;
    EXPECT_EQ(answer.data["total"].asInt(), 3);
  }
}

TEST_F(ListTest, Rows) {
  platform.strings[kDesktopStrings] = R"({"app": {"name": "Snapshots", "make": "Make"}})"_json;
  platform.strings["/usr/kavo/kavoman/webman/own/en"] = R"({"app": {"make": "Own make"}})"_json;
  platform.app_locations["own.app"] = "own/en";
  for (const auto& [id, app] : {std::pair(1, "own.app"), std::pair(2, "KAVO.ZEL.DataAnalysis")}) {
    FakeTask& task = platform.add(id, app);
    task.app_name = "#app:name#";
    task.action = "#app:make# it, FTP";
  }
  platform.tasks[1].next_trigger_time = "2026-01-02 03:04";
  platform.tasks[2].enabled = platform.tasks[2].can_run = false;
  platform.add(3, kBeep).can_delete = false;
  platform.tasks[3].can_edit = false;
  EXPECT_EQ(call("list", 1, "{}"_json), success(R"({"total": 3, "tasks": [
      {"enable": true, "id": 1, "name": "task 1", "type": "custom", "app_name": "Snapshots",
       "can_run": true, "can_delete": true, "can_edit": true, "action": "Own make it, FTP",
       "next_trigger_time": "2026-01-02 03:04"},
      {"enable": false, "id": 2, "name": "task 2", "type": "report", "action": "Make it, FTP",
       "can_run": false, "can_delete": true, "can_edit": true, "next_trigger_time": "-"},
      {"enable": true, "id": 3, "name": "task 3", "type": "beep", "action": "",
       "can_run": true, "can_delete": false, "can_edit": false, "next_trigger_time": "-"}]})"_json));
}

TEST_F(ListTest, ServiceNamesBecomeKeys) {
  std::string every, every_key;
  // clang-format off
  for (const auto& [name, key] : std::vector<std::pair<std::string, std::string>>{
           {"Samba", "#network:wnds_file_service#"}, {"AFP", "#network:apple_subject#"}, {"NFS", "#nfs:nfs_title#"},
           {"BonjourPrinter", "#network:bonjourPrinter_subject#"}, {"AutoBlock", "#tree:leaf_autoblock#"},
           {"FTPES", "#tree:leaf_ftpes#"}, {"SFTP", "#tree:leaf_sftp#"}, {"FTP", "#tree:leaf_ftp#"},
           {"WebVane", "#tree:leaf_service#"}, {"SecureWebDAV", "#tree:leaf_webdav# (HTTPS)"},
           {"WebDAV", "#tree:leaf_webdav#"}, {"SecureFileVane", "#tree:leaf_filevane# (HTTPS)"},
           {"FileVane", "#tree:leaf_filevane#"}, {"NTP", "#time:ntp_service#"}, {"samba", "samba"}}) {
    // clang-format on
    EXPECT_EQ(shown(kService, name), key);
    EXPECT_EQ(shown(kScript, name), name);
    every += " \"" + name + "\" " + name;
    every_key += " \"" + key + "\" " + key;
  }
  EXPECT_EQ(shown(kService, every), every_key);
  platform.strings[kDesktopStrings] = R"({"tree": {"leaf_webdav": "Web folders"}})"_json;
  EXPECT_EQ(shown(kService, "start: \"SecureWebDAV\""), "start: \"Web folders (HTTPS)\"");
}

TEST_F(ListTest, LongServiceActions) {
  const std::string key = "#tree:leaf_ftp#";
  const std::string failed = "KAVO.Core.TaskScheduler:78 replace string failed";
  // The longest action that fits with its key, and one byte more.
  const std::string fits(4095 - key.size(), 'x');
  EXPECT_EQ(shown(kService, "FTP" + fits), key + fits);
  EXPECT_EQ(take_log(), Lines());
  // Each pair whose text occurs is tried, also after one that failed.
  EXPECT_EQ(shown(kService, "SFTPx" + fits), "SFTPx" + fits);
  EXPECT_EQ(take_log(), (Lines{failed, failed}));
  // A name beyond the buffer: the text is cut. Without a name, nothing is copied or cut.
  const std::string full(4095, 'x');
  EXPECT_EQ(shown(kService, full + "FTP"), full);
  EXPECT_EQ(shown(kService, full + full), full + full);

  platform.fail("XLIBCStrReplace", 2);
  EXPECT_EQ(shown(kService, "AFP NFS NTP"), "#network:apple_subject# NFS #time:ntp_service#");
  EXPECT_EQ(take_log(), Lines{failed});
}

}  // namespace
