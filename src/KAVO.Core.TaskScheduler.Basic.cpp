// Reading and writing one task as a task document.

#include <strings.h>

#include <cstdlib>
#include <cstring>

#include "basic_handler.h"
#include "error_codes.h"
#include "lib.h"
#include "log.h"
#include "task_record.h"

namespace {

constexpr char kSource[] = "KAVO.Core.TaskScheduler.Basic";

// The members of a schedule that clients of API version 1 neither see nor set.
void RemoveVersion2Keys(Json::Value& schedule) {
  schedule.removeMember("repeat_min");
  schedule.removeMember("repeat_min_store_config");
  schedule.removeMember("repeat_hour_store_config");
}

}  // namespace

void TaskSchedulerBasicHandler::Process_v1(const char* method) {
  Process(method, 1);
}

void TaskSchedulerBasicHandler::Process_v2(const char* method) {
  Process(method, 2);
}

void TaskSchedulerBasicHandler::Process(const char* method, int version) {
  if (method == nullptr || *method == '\0') {
    return;
  }
  Json::Value result;
  bool done = false;
  if (strcmp(method, "get") == 0) {
    done = GetData(result, version);
  } else if (strcmp(method, "set") == 0) {
    done = SetData(result, version);
  }
  if (done) {
    response_->SetSuccess(result);
  } else {
    ReportError();
  }
}

bool TaskSchedulerBasicHandler::FailForTask(int line, const char* text, int id, int code,
                                            const char* message) {
  LogPlatformError(kSource, line, "%s id:[%d]", text, id);
  SetError(code, message);
  return false;
}

bool TaskSchedulerBasicHandler::Fail(int line, const char* text, int code, const char* message) {
  LogPlatformError(kSource, line, "%s", text);
  SetError(code, message);
  return false;
}

// --- get ---------------------------------------------------------------------------------------

bool TaskSchedulerBasicHandler::GetData(Json::Value& result, int version) {
  const auto id = request_->GetAndCheckInt("id", KAVO::APIRequest::PARAM_REQUIRED, nullptr);
  const Json::Value parameters = request_->GetParam("", Json::Value());
  if (id.IsInvalid()) {
    SetError(kErrorRequest, "id is invalid");
    return false;
  }
  Json::Value doc;
  if (!ReadSections(id.Get(), doc) || !ReConstructJsonGet(doc, version)) {
    return false;
  }
  if (parameters.isMember("type")) {
    doc["type"] = parameters["type"];
  }
  result = doc;
  return true;
}

bool TaskSchedulerBasicHandler::ReadSections(int id, Json::Value& doc) {
  const TaskPtr task(KAVOSchedTaskAlloc());
  if (!task) {
    return FailForTask(145, "alloc task failed.", id, kErrorStore, "Failed to allocate task");
  }
  if (KAVOSchedTaskLoad(id, task.get()) < 0) {
    return FailForTask(151, "load task failed.", id, kErrorLoad, "Failed to load task");
  }
  if (!KAVOSchedTaskConvertToJson_Basic(*task, doc)) {
    return FailForTask(157, "convert task to json (basic) faield.", id, kErrorStore,
                       "Failed to convert basic object");
  }
  if (!KAVOSchedTaskConvertToJson_Schedule(*task, doc)) {
    return FailForTask(163, "convert task to json (schedule) faield.", id, kErrorStore,
                       "Failed to convert schedule object");
  }
  if (!ConvertToJson_App(*task, doc)) {
    return FailForTask(169, "convert task to json (app) faield.", id, kErrorStore,
                       "Failed to convert app object");
  }
  return true;
}

bool TaskSchedulerBasicHandler::ReConstructJsonGet(Json::Value& doc, int version) {
  if (!ReConstructJsonGet_Basic(doc)) {
    return Fail(176, "Convert task from json (basic) failed.", kErrorStore,
                "Failed to convert basic object");
  }
  if (!ReConstructJsonGet_Schedule(doc["schedule"])) {
    return Fail(181, "Convert task from json (schedule) failed.", kErrorStore,
                "Failed to convert schedule object");
  }
  if (!ReConstructJsonGet_App(doc["app"])) {
    return Fail(186, "Convert task from json (app) failed.", kErrorStore,
                "Failed to convert app object");
  }
  doc["extra"] = doc["app"];
  doc.removeMember("app");
  if (version < 2) {
    RemoveVersion2Keys(doc["schedule"]);
  }
  return true;
}

bool TaskSchedulerBasicHandler::ReConstructJsonGet_Basic(Json::Value& doc) {
  Json::Value& basic = doc["basic"];
  const std::string app = basic["app"].asString();
  doc["id"] = basic["id"];
  doc["name"] = basic["task_name"];
  TranslateActionKey(basic, app);
  doc["action"] = basic["action"];
  doc["type"] = GetAppKeyFromNameSpace(app);
  doc["can_edit_name"] = basic["can_edit_name"];
  doc["can_edit_owner"] = GetAppEditOwnerValue();
  doc["enable"] = strcasecmp(basic["enabled"].asString().c_str(), "on") == 0;
  doc["owner"] = basic["owner"];
  doc.removeMember("basic");
  return true;
}

bool TaskSchedulerBasicHandler::ReConstructJsonGet_Schedule(Json::Value& schedule) {
  schedule["week_day"] = schedule["week_name"];
  schedule["repeat_date"] = schedule["repeat"];
  schedule["minute"] = schedule["min"];
  schedule.removeMember("week_name");
  schedule.removeMember("repeat");
  schedule.removeMember("min");
  schedule.removeMember("next_trigger_time");
  return true;
}

bool TaskSchedulerBasicHandler::GetOriginAppObj(Json::Value& app_obj) {
  const Json::Value parameters = request_->GetParam("", Json::Value());
  int id = -1;
  if (parameters.isMember("id")) {
    id = static_cast<int>(strtol(parameters["id"].asString().c_str(), nullptr, 10));
  }
  const TaskPtr task(KAVOSchedTaskAlloc());
  if (!task) {
    return FailForTask(102, "alloc task failed.", id, kErrorStore, "Failed to allocate task");
  }
  if (KAVOSchedTaskLoad(id, task.get()) < 0) {
    return FailForTask(108, "load task failed.", id, kErrorLoad, "Failed to load task");
  }
  Json::Value doc;
  if (!ConvertToJson_App(*task, doc)) {
    return FailForTask(114, "convert task to json (app) faield.", id, kErrorStore,
                       "Failed to convert app object");
  }
  app_obj = doc["app"];
  return true;
}

// --- set ---------------------------------------------------------------------------------------

bool TaskSchedulerBasicHandler::SetData(Json::Value& result, int version) {
  Json::Value doc = request_->GetParam("", Json::Value());
  int id = -1;
  if (!ReConstructJsonSet(doc, version) || !SaveSections(doc, id)) {
    return false;
  }
  result["id"] = id;
  return true;
}

bool TaskSchedulerBasicHandler::ReConstructJsonSet(Json::Value& doc, int version) {
  if (!ReConstructJsonSet_Basic(doc)) {
    return Fail(221, "Convert task from json (basic) failed.", kErrorRequest,
                "invalid (basic) object");
  }
  if (!ReConstructJsonSet_Schedule(doc["schedule"])) {
    return Fail(226, "Convert task from json (schedule) failed.", kErrorRequest,
                "invalid (schedule) object");
  }
  doc["app"] = doc["extra"];
  doc.removeMember("extra");
  if (version < 2) {
    RemoveVersion2Keys(doc["schedule"]);
  }
  if (!ReConstructJsonSet_App(doc["app"])) {
    return Fail(238, "Convert task from json (app) failed.", kErrorRequest, "invalid (app) object");
  }
  return true;
}

bool TaskSchedulerBasicHandler::ReConstructJsonSet_Basic(Json::Value& doc) {
  doc["basic"] = Json::Value(Json::objectValue);
  Json::Value& basic = doc["basic"];
  basic["id"] = doc.isMember("id") ? doc["id"].asString() : "-1";
  basic["task_name"] = doc["name"];
  basic["owner"] = doc["owner"];
  basic["enabled"] = doc["enable"].asBool() ? "on" : "off";
  doc.removeMember("id");
  doc.removeMember("name");
  doc.removeMember("owner");
  doc.removeMember("enable");
  return true;
}

bool TaskSchedulerBasicHandler::ReConstructJsonSet_Schedule(Json::Value& schedule) {
  schedule["min"] = schedule["minute"];
  schedule["week_name"] = schedule["week_day"];
  schedule["repeat"] = schedule["repeat_date"];
  schedule.removeMember("repeat_date");
  schedule.removeMember("week_day");
  schedule.removeMember("minute");
  return true;
}

bool TaskSchedulerBasicHandler::SaveSections(const Json::Value& doc, int& id) {
  const TaskPtr task(KAVOSchedTaskAlloc());
  if (!task) {
    return Fail(245, "Failed to new task.", kErrorStore, "Failed to new task");
  }
  if (!KAVOSchedTaskConvertFromJson_Basic(doc, *task)) {
    return Fail(250, "Convert task from json (basic) failed.", kErrorStore,
                "Invalid (basic) object");
  }
  if (!KAVOSchedTaskConvertFromJson_Schedule(doc, *task)) {
    return Fail(255, "Convert task from json (schedule) failed.", kErrorStore,
                "Invalid (schedule) object");
  }
  if (!ConvertFromJson_App(doc, *task)) {
    return Fail(260, "Convert task from json (app) failed.", kErrorStore, "Invalid (app) object");
  }
  if (KAVOSchedTaskSave(task.get()) < 0) {
    return Fail(267, "Save task failed.", kErrorStore, "Failed to save task");
  }
  id = KAVOSchedTaskGetID(*task);
  return true;
}

// --- the operations of an app, for apps without a form of their own ------------------------------

bool TaskSchedulerBasicHandler::ConvertToJson_App(const _tag_kavo_sched_task_&, Json::Value&) {
  return true;
}

bool TaskSchedulerBasicHandler::ConvertFromJson_App(const Json::Value&, _tag_kavo_sched_task_&) {
  return true;
}

bool TaskSchedulerBasicHandler::ReConstructJsonGet_App(Json::Value&) {
  return true;
}

bool TaskSchedulerBasicHandler::ReConstructJsonSet_App(Json::Value&) {
  return true;
}

bool TaskSchedulerBasicHandler::GetAppEditOwnerValue() {
  return false;
}
