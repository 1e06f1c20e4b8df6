// Tasks that start or stop services and packages.
#include <algorithm>

#include "module/module_test.h"

namespace {

const std::string kBasic = "KAVO.Core.TaskScheduler.Basic:";
const std::string kSource = "KAVO.Core.TaskScheduler.Service:";
const std::string kSetFailed = kBasic + "238 Convert task from json (app) failed.";
const std::string kConvertFailed = kBasic + "260 Convert task from json (app) failed.";
const char* const kNewTask = R"({"id": -1, "type": "service"})";

class ServiceTest : public ModuleTest {
 protected:
  static constexpr const char* kStored = R"({
      "service_store": [
        {"name": "gone", "service_type": 2, "display_name": "Gone", "enabled": true},
        {"name": "wiki", "service_type": 2, "display_name": "Old wiki", "enabled": true},
        {"name": "NFS", "service_type": 1, "display_name": "", "enabled": true},
        {"name": "FTP", "service_type": 1, "display_name": "", "enabled": false}],
      "service_action": "1"})";

  ServiceTest() { platform.add(12, kService, kStored); }

  static Answer get(const char* parameters = R"({"id": 12})") {
    return call("get", 1, operator""_json(parameters, std::char_traits<char>::length(parameters)));
  }
  static Answer set(const Json::Value& extra) {
    Json::Value parameters = R"({"id": 12})"_json;
    parameters["extra"] = extra;
    take_calls();
    return call("set", 1, parameters);
  }
  // The form's elements as "id type name enable", to compare at a glance.
  static Lines elements(const Answer& answer) {
    Lines found;
    for (const Json::Value& element : answer.data["extra"]["services"]) {
      EXPECT_EQ(element.size(), 4U);
      found.push_back(element["id"].asString() + " " + element["type"].asString() + " " +
                      element["name"].asString() + (element["enable"].asBool() ? " on" : " off"));
    }
    return found;
  }
  // The stored task's entries with a choice, as "name", "-name".
  static Lines choices() {
    Lines found;
    Json::Value section;
    Json::Reader().parse(platform.tasks[12].app_args, section);
    for (const Json::Value& entry : section["service_store"]) {
      found.push_back((entry["enabled"].asBool() ? "" : "-") + entry["name"].asString());
    }
    return found;
  }
};

TEST_F(ServiceTest, NewTaskOffersServicesAndPackages) {
  platform.packages = {{"wiki", "The wiki", true, true},
                       {"library", "Library", false, true},
                       {"broken", "", true, false}};
  Lines offered{"Samba", "AFP",  "BonjourPrinter", "AutoBlock",    "FTP",
                "FTPES", "SFTP", "WebDAV",         "SecureWebDAV", "NTP"};
  for (std::string& service : offered) service += " service " + service + " off";
  offered.emplace_back("wiki package The wiki off");
  offered.emplace_back("broken package broken off");
  const Answer plain = get(kNewTask);
  EXPECT_EQ(elements(plain), offered);
  EXPECT_EQ(plain.data["extra"]["action"], "stop");
  EXPECT_EQ(plain.data["extra"].size(), 2U);
  EXPECT_FALSE(plain.data["can_edit_owner"].asBool());

  platform.configuration = {{"supportNFS", "YES"}, {"supportweb", "yes"}};
  offered.insert(offered.begin() + 3, "NFS service NFS off");
  offered.insert(offered.begin() + 8, "WebVane service WebVane off");
  EXPECT_EQ(elements(get(kNewTask)), offered);
  platform.configuration = {{"supportNFS", "no"}, {"supportweb", "yes!"}};
  EXPECT_EQ(elements(get(kNewTask)).size(), 12U);
}

TEST_F(ServiceTest, StoredListFollowsTheInstalledPackages) {
  platform.packages = {{"new", "New one", true, true},
                       {"wiki", "The wiki", true, true},
                       {"NFS", "A namesake", true, true},
                       {"other", "Other", true, true}};
  take_calls();
  const Answer answer = get();
  EXPECT_EQ(elements(answer), (Lines{"wiki package Old wiki on", "NFS service NFS on",
                                     "FTP service FTP off", "new package New one off",
                                     "NFS package A namesake off", "other package Other off"}));
  EXPECT_EQ(answer.data["extra"]["action"], "start");
  for (const std::string& call : platform.calls) EXPECT_FALSE(call.starts_with("KavoConf")) << call;
  EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), "XLIBCSzHashAlloc 128"), 1);
}

TEST_F(ServiceTest, FailingPackagesAreLeftOut) {
  platform.packages = {{"wiki", "The wiki", true, true}};
  const Lines log{kSource + "97 init PackageManager failed", "addPackage failed"};
  platform.fail("PackageManager::init");
  EXPECT_EQ(elements(get()), (Lines{"NFS service NFS on", "FTP service FTP off"}));
  EXPECT_EQ(take_log(), log);
  platform.fail("PackageManager::init");
  EXPECT_EQ(elements(get(kNewTask)).size(), 10U);
  EXPECT_EQ(take_log(), log);
}

TEST_F(ServiceTest, HashThatCannotBeAllocated) {
  platform.fail("XLIBCSzHashAlloc");
  EXPECT_EQ(get(), error(117, "Failed to convert app object"));
  EXPECT_EQ(take_log(),
            (Lines{kSource + "168 hash alloc failed",
                   kBasic + "169 convert task to json (app) faield. id:[12]" + kCause}));
  platform.fail("XLIBCSzHashAlloc");
  EXPECT_EQ(set("{}"_json), error(117, "Failed to convert app object"));
  EXPECT_EQ(take_log(), (Lines{kSource + "168 hash alloc failed",
                               kBasic + "114 convert task to json (app) faield. id:[12]" + kCause,
                               kSetFailed + kCause}));
  EXPECT_FALSE(saved());
}

TEST_F(ServiceTest, GetOfASectionWithoutItsParts) {
  const std::string failed = kBasic + "186 Convert task from json (app) failed. [0x0000 :0]";
  for (const char* arguments :
       {"", "{}", R"({"service_store": []})", R"({"service_store": [], "service_action": 1})"}) {
    platform.add(12, kService, arguments);
    EXPECT_EQ(get(), error(117, "Failed to convert app object")) << arguments;
    EXPECT_EQ(take_log(), Lines{failed});
  }
  platform.add(12, kService, R"({"service_store": [], "service_action": "00"})");
  EXPECT_EQ(get().data["extra"]["action"], "start");
}

TEST_F(ServiceTest, SetChangesOnlyActionAndChoices) {
  platform.packages = {{"wiki", "The wiki", true, true}, {"new one", "New", true, true}};
  EXPECT_EQ(set("null"_json), success(R"({"id": 12})"_json));
  EXPECT_EQ(choices(), (Lines{"wiki", "NFS", "-FTP", "-new one"}));
  EXPECT_EQ(platform.tasks[12].action, "#common:start_service#: \"wiki\" \"NFS\"");

  // Ids that match nothing, more members and a missing action change nothing else.
  EXPECT_TRUE(set(R"({"services": [{"id": "FTP", "enable": true, "name": "renamed"},
                                   {"id": "gone", "enable": true},
                                   {"id": "NFS", "enable": false}]})"_json)
                  .success);
  EXPECT_EQ(choices(), (Lines{"wiki", "-NFS", "FTP", "-new one"}));
  EXPECT_TRUE(set(R"({"action": "stop", "services": {"id": "FTP"}})"_json).success);
  EXPECT_EQ(choices(), (Lines{"wiki", "-NFS", "FTP", "-new one"}));
  EXPECT_EQ(platform.tasks[12].action, "#common:stop_service#: \"wiki\" \"FTP\"");
  EXPECT_TRUE(set(R"({"action": 5})"_json).success);
  EXPECT_EQ(platform.tasks[12].action, "#common:stop_service#: \"wiki\" \"FTP\"");
  EXPECT_TRUE(set(R"({"action": "start"})"_json).success);
  EXPECT_EQ(platform.tasks[12].action, "#common:start_service#: \"wiki\" \"FTP\"");
}

TEST_F(ServiceTest, SetRefusesWrongChoices) {
  for (const Json::Value& extra :
       {R"({"action": "Stop"})"_json, R"({"action": ""})"_json,
        R"({"services": [{"id": "FTP", "enable": "true"}]})"_json,
        R"({"services": [{"id": "FTP", "enable": 1}]})"_json,
        R"({"services": [{"id": "none", "enable": null}]})"_json,
        R"({"services": [{"id": 5, "enable": true}]})"_json, R"({"services": [{}]})"_json}) {
    EXPECT_EQ(set(extra), error(4800, "invalid (app) object")) << extra;
    EXPECT_EQ(take_log(), Lines{kSetFailed + " [0x0000 :0]"});
    EXPECT_FALSE(saved());
    // One record for the app's type, one for its section: none for the task.
    EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), "KAVOSchedTaskAlloc"), 2);
  }
}

TEST_F(ServiceTest, ErrorOfTheStoredSectionWinsOverTheAppsOwn) {
  platform.fail("KAVOSchedTaskLoad", 2);
  EXPECT_EQ(set("{}"_json), error(4801, "Failed to load task"));
  EXPECT_EQ(take_log(),
            (Lines{kBasic + "108 load task failed. id:[12]" + kCause, kSetFailed + kCause}));
}

TEST_F(ServiceTest, CreateStartsFromTheDefaultList) {
  platform.tasks.clear();
  platform.packages = {{"wiki", "The wiki", true, true}};
  EXPECT_EQ(call("create", 1, R"({"type": "service", "extra": {"action": "start", "services": [
                     {"id": "wiki", "enable": true}, {"id": "NTP", "enable": true},
                     {"id": "Samba", "enable": true}]}})"_json),
            success(R"({"id": 1})"_json));
  const FakeTask& task = platform.tasks[1];
  const Lines set = setters();
  ASSERT_EQ(set.size(), 9U);
  EXPECT_EQ(
      (Lines{set.begin(), set.begin() + 6}),
      (Lines{"SetEditForm KAVO.ZEL.TaskScheduler.Service.FormPanel", "SetCanEditOwner 0",
             "SetCanRunAppSameTime 0", "SetCanRunTaskSameTime 0",
             "SetApp KAVO.ZEL.TaskScheduler.Service", "SetAppName #service:service_subject#"}));
  EXPECT_EQ(task.action, "#common:start_service#: \"Samba\" \"NTP\" \"wiki\"");
  EXPECT_EQ(task.command,
            "/tmp/kavoschedtool --start-service Samba NTP;\n/usr/kavo/bin/kavopkg start wiki;\n");
  Json::Value section;
  EXPECT_TRUE(Json::Reader().parse(task.app_args, section));
  EXPECT_EQ(compact(section["service_store"][0]), compact(R"({
      "name": "Samba", "service_type": 1, "display_name": "", "enabled": true})"_json));
  EXPECT_EQ(compact(section["service_store"][10]), compact(R"({
      "name": "wiki", "service_type": 2, "display_name": "The wiki", "enabled": true})"_json));
  EXPECT_EQ(task.app_args, compact(section));
}

// Runs the conversion alone, on a section that "set" could not produce.
struct Conversion {
  explicit Conversion(const Json::Value& section);
  bool done = false;
  FakeTask task;
};

Conversion::Conversion(const Json::Value& section) {
  platform.tasks.clear();
  platform.add(12, kService, compact(section));
  Json::Value parameters = R"({"id": 12})"_json;
  FakeRequest request(parameters);
  FakeResponse response;
  TaskSchedulerSet(&request, &response, 2);
  done = response.only().success;
  task = platform.tasks[12];
}

TEST_F(ServiceTest, CommandAndAction) {
  platform.packages = {{"a b", "", true, true}, {"q\"", "", true, true}, {"off", "", true, true}};
  const Conversion mixed(R"({"service_action": "0", "service_store": [
      {"name": "a b", "service_type": 2, "display_name": "", "enabled": true},
      {"name": "NFS", "service_type": 1, "display_name": "", "enabled": true},
      {"name": "off", "service_type": 2, "display_name": "", "enabled": false},
      {"name": "q\"", "service_type": 2, "display_name": "", "enabled": true},
      {"name": "x;y", "service_type": 1, "display_name": "", "enabled": true}]})"_json);
  EXPECT_TRUE(mixed.done);
  EXPECT_EQ(mixed.task.action, "#common:stop_service#: \"a b\" \"NFS\" \"q\"\" \"x;y\"");
  EXPECT_EQ(mixed.task.command,
            "/tmp/kavoschedtool --stop-service NFS x\\;y;\n"
            "/usr/kavo/bin/kavopkg stop a\\ b;\n"
            "/usr/kavo/bin/kavopkg stop q\\\";\n");

  const Conversion packages(R"({"service_action": "1", "service_store": [
      {"name": "off", "service_type": 2, "display_name": "", "enabled": true}]})"_json);
  EXPECT_EQ(packages.task.command, "/usr/kavo/bin/kavopkg start off;\n");

  platform.packages.clear();
  const Conversion services(R"({"service_action": "1", "service_store": [
      {"name": "NTP", "service_type": 1, "display_name": "", "enabled": true}]})"_json);
  EXPECT_EQ(services.task.command, "/tmp/kavoschedtool --start-service NTP;\n");

  const Conversion none(R"({"service_action": "1", "service_store": [
      {"name": "NTP", "service_type": 1, "display_name": "", "enabled": false}]})"_json);
  EXPECT_TRUE(none.done);
  EXPECT_EQ(none.task.action, "#common:start_service#:");
  EXPECT_EQ(none.task.command, "");
}

TEST_F(ServiceTest, SectionsThatCannotBeStored) {
  for (const Json::Value& section :
       {R"({"service_action": "0", "service_store": []})"_json, R"({"service_action": "0"})"_json,
        R"({"service_action": "2", "service_store": [{"name": "NTP", "service_type": 1}]})"_json,
        R"({"service_store": [{"name": "NTP", "service_type": 1}]})"_json}) {
    const Conversion refused(section);
    EXPECT_FALSE(refused.done) << section;
    EXPECT_EQ(take_log(), Lines{kConvertFailed + " [0x0000 :0]"});
    EXPECT_FALSE(saved());
  }
}

TEST_F(ServiceTest, NameThatCannotBeQuotedIsAnEmptyWord) {
  platform.fail("XLIBCEncShParam");
  const Conversion failed(R"({"service_action": "1", "service_store": [
      {"name": "NTP", "service_type": 1, "display_name": "", "enabled": true},
      {"name": "NFS", "service_type": 1, "display_name": "", "enabled": true}]})"_json);
  EXPECT_TRUE(failed.done);
  EXPECT_EQ(failed.task.command, "/tmp/kavoschedtool --start-service  NFS;\n");
  EXPECT_EQ(take_log(), Lines{"lib:21 escape cmd=NTP failed, errno=No space left on device"});
}

TEST_F(ServiceTest, ExceptionsPassThroughAndLeaveNothing) {
  platform.packages = {{"wiki", "The wiki", true, true}};
  for (const char* arguments : {R"(["no section"])", R"({"service_action": "1", "service_store": [
                                      {"name": {}, "service_type": 2}]})",
                                R"({"service_action": "1", "service_store": [
                                      {"name": "NTP", "service_type": "x"}]})"}) {
    platform.add(12, kService, arguments);
    EXPECT_THROW(get(), Json::Exception) << arguments;
    EXPECT_THROW(set("{}"_json), Json::Exception) << arguments;
  }
  EXPECT_FALSE(saved());
}

}  // namespace
