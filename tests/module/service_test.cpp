// Tasks that start or stop services and packages.
#include "module/module_test.h"

namespace {

const std::string kBasic = "KAVO.Core.TaskScheduler.Basic:";
const std::string kSource = "KAVO.Core.TaskScheduler.Service:";
const std::string kFailed = " [0x0A0B file.c:77]";

struct Entry {
  std::string name;
  int type;
  bool enabled;
};

class ServiceTest : public ModuleTest {
 protected:
  // Makes a service task with these entries the stored one.
  static void store(const char* action, const std::vector<Entry>& entries) {
    Json::Value section;
    section["service_action"] = action;
    for (const auto& [name, type, enabled] : entries) {
      Json::Value& entry = section["service_store"].append(Json::Value());
      entry["name"] = name;
      entry["service_type"] = type;
      entry["display_name"] = "Old " + name;
      entry["enabled"] = enabled;
    }
    platform.add(12, kService, compact(section));
  }
  static Answer get(const char* parameters = R"({"id": 12})") {
    return call("get", 1, json(parameters));
  }
  static Answer set(const std::string& extra) {
    take_calls();
    return call("set", 1, json(R"({"id": 12, "extra": )" + extra + "}"));
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
};

const std::vector<Entry> kStored = {
    {"gone", 2, true}, {"wiki", 2, true}, {"NFS", 1, true}, {"FTP", 1, false}};

TEST_F(ServiceTest, NewTaskOffersServicesAndPackages) {
  const char* new_task = R"({"id": -1, "type": "service"})";
  platform.packages = {
      {"wiki", "The wiki"}, {"library", "Library", false}, {"broken", "", true, false}};
  Lines offered{"Samba", "AFP",  "BonjourPrinter", "AutoBlock",    "FTP",
                "FTPES", "SFTP", "WebDAV",         "SecureWebDAV", "NTP"};
  for (std::string& service : offered) service += " service " + service + " off";
  offered.insert(offered.end(), {"wiki package The wiki off", "broken package broken off"});
  platform.configuration = {{"supportNFS", "no"}, {"supportweb", "yes!"}};
  EXPECT_EQ(elements(get(new_task)), offered);
  platform.configuration = {{"supportNFS", "YES"}, {"supportweb", "yes"}};
  offered.insert(offered.begin() + 3, "NFS service NFS off");
  offered.insert(offered.begin() + 8, "WebVane service WebVane off");
  EXPECT_EQ(elements(get(new_task)), offered);
  platform.fail("PackageManager::init");
  const Answer without = get(new_task);
  EXPECT_EQ(elements(without).size(), 12U);
  EXPECT_EQ(without.data["extra"]["action"], "stop");
  EXPECT_EQ(without.data["extra"].size(), 2U);
  EXPECT_EQ(take_log(), (Lines{kSource + "97 init PackageManager failed", "addPackage failed"}));
}

TEST_F(ServiceTest, StoredListFollowsTheInstalledPackages) {
  store("1", kStored);
  platform.packages = {{"new", "New one"}, {"wiki", "The wiki"}, {"NFS", "A namesake"}};
  EXPECT_EQ(elements(get()),
            (Lines{"wiki package Old wiki on", "NFS service NFS on", "FTP service FTP off",
                   "new package New one off", "NFS package A namesake off"}));
  EXPECT_EQ(calls_of("KavoConf"), Lines());
  EXPECT_EQ(calls_of("XLIBCSzHashAlloc"), Lines{"XLIBCSzHashAlloc 128"});
  platform.fail("XLIBCSzHashAlloc");
  EXPECT_EQ(get(), error(117, "Failed to convert app object"));
  EXPECT_EQ(take_log(),
            (Lines{kSource + "168 hash alloc failed",
                   kBasic + "169 convert task to json (app) faield. id:[12]" + kFailed}));
}

TEST_F(ServiceTest, SetChangesOnlyActionAndChoices) {
  store("1", kStored);
  platform.packages = {{"wiki", "The wiki"}, {"new one", "New"}};
  // clang-format off
  for (const auto& [extra, action] : std::vector<std::pair<const char*, std::string>>{
           {"null", "#common:start_service#: \"wiki\" \"NFS\""},
           // Ids that match nothing, more members and a missing action change nothing else.
           {R"({"services": [{"id": "FTP", "enable": true, "name": "x"}, {"id": "no", "enable": true}, {"id": "NFS", "enable": false}]})",
            "#common:start_service#: \"wiki\" \"FTP\""},
           {R"({"action": "stop", "services": {"id": "FTP"}})", "#common:stop_service#: \"wiki\" \"FTP\""},
           {R"({"action": 5})", "#common:stop_service#: \"wiki\" \"FTP\""},
           {R"({"action": "start"})", "#common:start_service#: \"wiki\" \"FTP\""}}) {
    // clang-format on
    EXPECT_EQ(set(extra), success(R"({"id": 12})"_json));
    EXPECT_EQ(platform.tasks[12].action, action) << extra;
  }
  EXPECT_EQ(elements(get()), (Lines{"wiki package Old wiki on", "NFS service NFS off",
                                    "FTP service FTP on", "new one package New off"}));
  platform.fail("KAVOSchedTaskLoad", 2);  // its error comes before that of the app
  EXPECT_EQ(set("{}"), error(4801, "Failed to load task"));
  EXPECT_EQ(take_log(), (Lines{kBasic + "108 load task failed. id:[12]" + kFailed,
                               kBasic + "238 Convert task from json (app) failed." + kFailed}));
}

TEST_F(ServiceTest, CreateStartsFromTheDefaultList) {
  platform.packages = {{"wiki", "The wiki"}};
  EXPECT_EQ(call("create", 1, R"({"type": "service", "extra": {"action": "start", "services": [
                     {"id": "wiki", "enable": true}, {"id": "NTP", "enable": true}]}})"_json),
            success(R"({"id": 1})"_json));
  const Json::Value section = json(platform.tasks[1].app_args);
  EXPECT_EQ(
      calls_of("Set"),
      (Lines{"SetEditForm KAVO.ZEL.TaskScheduler.Service.FormPanel", "SetCanEditOwner 0",
             "SetCanRunAppSameTime 0", "SetCanRunTaskSameTime 0",
             "SetApp KAVO.ZEL.TaskScheduler.Service", "SetAppName #service:service_subject#",
             "SetAppArgs " + compact(section), "SetAction #common:start_service#: \"NTP\" \"wiki\"",
             "SetCommand /tmp/kavoschedtool --start-service NTP;\n"
             "/usr/kavo/bin/kavopkg start wiki;\n"}));
  EXPECT_EQ(compact(section["service_store"][9]), compact(R"({
      "name": "NTP", "service_type": 1, "display_name": "", "enabled": true})"_json));
  EXPECT_EQ(compact(section["service_store"][10]), compact(R"({
      "name": "wiki", "service_type": 2, "display_name": "The wiki", "enabled": true})"_json));
}

TEST_F(ServiceTest, CommandAndAction) {
  platform.packages = {{"a b", ""}, {"q\"", ""}, {"off", ""}};
  // clang-format off
  store("0", {{"a b", 2, true}, {"NFS", 1, true}, {"off", 2, false}, {"q\"", 2, true}, {"x;y", 1, true}});
  EXPECT_TRUE(set("{}").success);
  EXPECT_EQ(platform.tasks[12].action, "#common:stop_service#: \"a b\" \"NFS\" \"q\"\" \"x;y\"");
  EXPECT_EQ(platform.tasks[12].command, "/tmp/kavoschedtool --stop-service NFS x\\;y;\n"
                                        "/usr/kavo/bin/kavopkg stop a\\ b;\n/usr/kavo/bin/kavopkg stop q\\\";\n");
  // clang-format on
  store("1", {{"off", 2, true}});
  EXPECT_TRUE(set("{}").success);
  EXPECT_EQ(platform.tasks[12].command, "/usr/kavo/bin/kavopkg start off;\n");
  platform.packages.clear();
  store("1", {{"NTP", 1, false}});
  EXPECT_TRUE(set("{}").success);
  EXPECT_EQ(platform.tasks[12].action, "#common:start_service#:");
  EXPECT_EQ(platform.tasks[12].command, "");
  // A name that cannot be quoted is an empty word.
  store("1", {{"NTP", 1, true}, {"NFS", 1, true}});
  platform.fail("XLIBCEncShParam");
  EXPECT_TRUE(set("{}").success);
  EXPECT_EQ(platform.tasks[12].command, "/tmp/kavoschedtool --start-service  NFS;\n");
  EXPECT_EQ(take_log(), Lines{"lib:21 escape cmd=NTP failed, errno=No space left on device"});
}

TEST_F(ServiceTest, SectionsWithoutTheirParts) {
  // clang-format off
  for (const auto& [section, shows] : {
           std::pair("", false), std::pair(R"({"service_store": [], "service_action": 1})", false),
           std::pair(R"({"service_action": "0"})", true), std::pair(R"({"service_store": [{"name": "NTP", "service_type": 1}]})", false),
           std::pair(R"({"service_action": "0", "service_store": []})", true),
           std::pair(R"({"service_action": "2", "service_store": [{"name": "NTP", "service_type": 1}]})", true)}) {
    // clang-format on
    platform.add(12, kService, section);
    EXPECT_EQ(get().success, shows) << section;
    EXPECT_EQ(
        take_log(),
        shows ? Lines() : Lines{kBasic + "186 Convert task from json (app) failed. [0x0000 :0]"});
    EXPECT_EQ(set("null"), error(117, "Invalid (app) object")) << section;
    EXPECT_EQ(take_log(), Lines{kBasic + "260 Convert task from json (app) failed. [0x0000 :0]"});
  }
  EXPECT_EQ(get().data["extra"]["action"], "start");  // all but "0"
  EXPECT_FALSE(saved());
}

}  // namespace
