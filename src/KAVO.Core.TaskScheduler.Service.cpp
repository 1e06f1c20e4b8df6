// Tasks that start or stop services and packages.

#include <kavoconf.h>
#include <kavopackage.h>
#include <strings.h>
#include <syslog.h>
#include <xlibc.h>

#include <memory>
#include <utility>

#include "json_text.h"
#include "lib.h"
#include "log.h"
#include "service_handler.h"

namespace {

constexpr char kSource[] = "KAVO.Core.TaskScheduler.Service";

constexpr int kTypeService = 1;
constexpr int kTypePackage = 2;
constexpr char kActionStart[] = "1";
constexpr char kActionStop[] = "0";

struct ServiceRow {
  const char* name;
  const char* config_key;  // offered only when the configuration says "yes"; null: always
};

constexpr ServiceRow kServices[] = {
    {"Samba", nullptr},    {"AFP", nullptr},          {"BonjourPrinter", nullptr},
    {"NFS", "supportNFS"}, {"AutoBlock", nullptr},    {"FTP", nullptr},
    {"FTPES", nullptr},    {"SFTP", nullptr},         {"WebVane", "supportweb"},
    {"WebDAV", nullptr},   {"SecureWebDAV", nullptr}, {"NTP", nullptr},
};

bool IsOffered(const ServiceRow& service) {
  return service.config_key == nullptr ||
         strcasecmp(KavoConf::Def(service.config_key, "no").c_str(), "yes") == 0;
}

Json::Value Entry(const std::string& name, int type, const std::string& display_name) {
  Json::Value entry;
  entry["name"] = name;
  entry["service_type"] = type;
  entry["display_name"] = display_name;
  entry["enabled"] = false;
  return entry;
}

// Appends an entry for each installed package that can be started. 0, or -1 when the package
// manager fails.
int AppendPackages(Json::Value& list) {
  KAVOPackageTool::PackageManager packages;
  if (!packages.init()) {
    LogError(kSource, 97, "init PackageManager failed");
    return -1;
  }
  for (const std::string& name : packages.enumPackages(nullptr)) {
    KAVOPackageTool::PackageInfo info;
    if (!packages.getPackageInfo(name, info, nullptr)) {
      list.append(Entry(name, kTypePackage, name));
    } else if (info.can_be_started) {
      list.append(Entry(name, kTypePackage, info.display_name));
    }
  }
  return 0;
}

// As AppendPackages; a failing package manager leaves the packages out.
void AppendPackagesIfAny(Json::Value& list) {
  if (AppendPackages(list) < 0) {
    syslog(LOG_ERR, "addPackage failed");
  }
}

Json::Value DefaultSection() {
  Json::Value store(Json::arrayValue);
  for (const ServiceRow& service : kServices) {
    if (IsOffered(service)) {
      store.append(Entry(service.name, kTypeService, ""));
    }
  }
  AppendPackagesIfAny(store);
  Json::Value app;
  app["service_store"] = store;
  app["service_action"] = kActionStop;
  return app;
}

struct HashFree {
  void operator()(XLIBCSzHash* hash) const { XLIBCSzHashFree(hash); }
};

// A mark for each package name.
class PackageMarks {
 public:
  PackageMarks() : hash_(XLIBCSzHashAlloc(128)) {}

  bool Valid() const { return hash_ != nullptr; }
  void Set(const std::string& name, const char* mark) {
    XLIBCSzHash* hash = hash_.release();
    XLIBCSzHashSetValue(&hash, name.c_str(), mark);
    hash_.reset(hash);
  }
  // Null when the name has no mark.
  const char* Get(const std::string& name) const {
    return XLIBCSzHashGetValue(hash_.get(), name.c_str());
  }

 private:
  std::unique_ptr<XLIBCSzHash, HashFree> hash_;
};

constexpr char kInstalled[] = "i";
constexpr char kKept[] = "-1";

// The stored entries without the packages that are gone, followed by the packages that are new.
bool UpdateStore(const Json::Value& stored, const Json::Value& packages, Json::Value& updated) {
  PackageMarks marks;
  if (!marks.Valid()) {
    LogError(kSource, 168, "hash alloc failed");
    return false;
  }
  for (const Json::Value& package : packages) {
    marks.Set(package["name"].asString(), kInstalled);
  }
  for (const Json::Value& entry : stored) {
    if (entry["service_type"].asInt() == kTypeService) {
      updated.append(entry);
      continue;
    }
    const std::string name = entry["name"].asString();
    if (marks.Get(name) != nullptr) {
      updated.append(entry);
      marks.Set(name, kKept);
    }
  }
  for (const Json::Value& package : packages) {
    const char* mark = marks.Get(package["name"].asString());
    if (mark == nullptr || std::string(mark) != kKept) {
      updated.append(package);
    }
  }
  return true;
}

}  // namespace

bool TaskSchedulerServiceHandler::ConvertToJson_App(const _tag_kavo_sched_task_& task,
                                                    Json::Value& doc) {
  if (KAVOSchedTaskIsNew(task)) {
    doc["app"] = DefaultSection();
    return true;
  }
  Json::Value packages(Json::arrayValue);
  AppendPackagesIfAny(packages);
  Json::Value app = ParseText(KAVOSchedTaskGetAppArgs(task));
  Json::Value store(Json::arrayValue);
  if (!UpdateStore(std::as_const(app)["service_store"], packages, store)) {
    return false;
  }
  app["service_store"] = store;
  doc["app"] = app;
  return true;
}

bool TaskSchedulerServiceHandler::ReConstructJsonGet_App(Json::Value& app) {
  const Json::Value& stored = app;
  if (!stored["service_store"].isArray() || !stored["service_action"].isString()) {
    return false;
  }
  Json::Value services = stored["service_store"];
  for (Json::Value& element : services) {
    const int type = element["service_type"].asInt();
    element["type"] = type == kTypeService ? "service" : "package";
    element["id"] = element["name"];
    if (type == kTypePackage) {
      element["name"] = element["display_name"];
    }
    element["enable"] = element["enabled"];
    element.removeMember("enabled");
    element.removeMember("display_name");
    element.removeMember("service_type");
  }
  app["action"] = stored["service_action"].asString() == kActionStop ? "stop" : "start";
  app["services"] = services;
  app.removeMember("service_store");
  app.removeMember("service_action");
  return true;
}

bool TaskSchedulerServiceHandler::ReConstructJsonSet_App(Json::Value& app) {
  Json::Value stored;
  if (!GetOriginAppObj(stored)) {
    return false;
  }
  const Json::Value& form = app;
  if (form["action"].isString()) {
    const std::string action = form["action"].asString();
    if (action != "stop" && action != "start") {
      return false;
    }
    stored["service_action"] = action == "stop" ? kActionStop : kActionStart;
  }
  if (form["services"].isArray()) {
    for (const Json::Value& element : form["services"]) {
      if (!element.isObject() || !element["id"].isString() || !element["enable"].isBool()) {
        return false;
      }
      for (Json::Value& entry : stored["service_store"]) {
        if (entry["name"] == element["id"]) {
          entry["enabled"] = element["enable"];
        }
      }
    }
  }
  app = stored;
  return true;
}

bool TaskSchedulerServiceHandler::ConvertFromJson_App(const Json::Value& doc,
                                                      _tag_kavo_sched_task_& task) {
  const Json::Value& app = doc["app"];
  KAVOSchedCTaskSetEditForm(&task, "KAVO.ZEL.TaskScheduler.Service.FormPanel");
  KAVOSchedCTaskSetCanEditOwner(&task, 0);
  KAVOSchedCTaskSetCanRunAppSameTime(&task, 0);
  KAVOSchedCTaskSetCanRunTaskSameTime(&task, 0);
  KAVOSchedCTaskSetApp(&task, "KAVO.ZEL.TaskScheduler.Service");
  KAVOSchedCTaskSetAppName(&task, "#service:service_subject#");
  KAVOSchedCTaskSetAppArgs(&task, CompactText(app).c_str());

  const std::string service_action = app["service_action"].asString();
  if (service_action != kActionStop && service_action != kActionStart) {
    return false;
  }
  // By size: a text has no entries either, though the library does not call it empty.
  // NOLINTNEXTLINE(readability-container-size-empty)
  if (app["service_store"].size() == 0) {
    return false;
  }
  const bool stop = service_action == kActionStop;
  std::string action = stop ? "#common:stop_service#:" : "#common:start_service#:";
  std::string services;
  std::string packages;
  for (const Json::Value& entry : app["service_store"]) {
    if (!entry["enabled"].asBool()) {
      continue;
    }
    const std::string name = entry["name"].asString();
    action += " \"" + name + "\"";
    if (entry["service_type"].asInt() == kTypeService) {
      services += " " + EscapeShellName(name);
    } else {
      packages += std::string("/usr/kavo/bin/kavopkg") + (stop ? " stop " : " start ") +
                  EscapeShellName(name) + ";\n";
    }
  }
  std::string command;
  if (!services.empty()) {
    command = std::string("/tmp/kavoschedtool") + (stop ? " --stop-service" : " --start-service") +
              services + ";\n";
  }
  command += packages;
  KAVOSchedCTaskSetAction(&task, action.c_str());
  KAVOSchedCTaskSetCommand(&task, command.c_str());
  return true;
}

bool TaskSchedulerServiceHandler::GetAppEditOwnerValue() {
  return false;
}
