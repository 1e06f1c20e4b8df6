// The task list, the task actions, and the error state that every handler has.

#include <strings.h>
#include <xlibc.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

#include "error_codes.h"
#include "handler.h"
#include "lib.h"
#include "log.h"
#include "task_record.h"

namespace {

constexpr char kSource[] = "KAVO.Core.TaskScheduler";
constexpr int kErrInvalidArgument = 0x0D00;
constexpr size_t kActionBufferSize = 4096;

struct TextRow {
  const char* text;
  const char* key;
};

// Sort names of the API and the task store's sort keys.
constexpr TextRow kSortKeys[] = {
    {"enable", "state"},
    {"id", "id"},
    {"type", "app name"},
    {"name", "name"},
    {"app_name", "app name"},
    {"action", "action"},
    {"next_trigger_time", "next trigger time"},
};
constexpr char kDefaultSortKey[] = "next trigger time";

// Service keys in action texts and how the desktop calls them. A key that contains another one
// comes before it.
constexpr TextRow kServiceNames[] = {
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
};

bool CheckTask(const _tag_kavo_sched_task_* task, int line) {
  if (task != nullptr) {
    return true;
  }
  LogError(kSource, line, "Invaild Argument (%s)=[%d]\n", "__null != pTask", 0);
  XLIBCErrSetEx(kErrInvalidArgument, kSource, line);
  return false;
}

template <typename T>
T ValueOr(const KAVO::APIParameter<T>& parameter, T fallback) {
  return parameter.IsSet() && !parameter.IsInvalid() ? parameter.Get() : fallback;
}

std::string TextParameter(const KAVO::APIRequest& request, const char* name) {
  return ValueOr(request.GetAndCheckString(name, KAVO::APIRequest::PARAM_OPTIONAL, nullptr),
                 std::string());
}

int IntParameter(const KAVO::APIRequest& request, const char* name, int fallback) {
  return ValueOr(request.GetAndCheckInt(name, KAVO::APIRequest::PARAM_OPTIONAL, nullptr), fallback);
}

const char* SortKey(const std::string& sort_by) {
  for (const TextRow& row : kSortKeys) {
    if (strcmp(sort_by.c_str(), row.text) == 0) {
      return row.key;
    }
  }
  return kDefaultSortKey;
}

// Replaces the service keys in row["action"] by UI string keys. The text is cut to the buffer when
// a key stands in it.
void ReplaceServiceNames(Json::Value& row) {
  for (const TextRow& service : kServiceNames) {
    const std::string action = row["action"].asString();
    if (strstr(action.c_str(), service.text) == nullptr) {
      continue;
    }
    char buffer[kActionBufferSize];
    (void)snprintf(buffer, sizeof buffer, "%s", action.c_str());
    if (XLIBCStrReplace(buffer, service.text, service.key, 0, sizeof buffer) < 0) {
      LogError(kSource, 78, "replace string failed");
      continue;
    }
    row["action"] = buffer;
  }
}

}  // namespace

bool onlyListable(const _tag_kavo_sched_task_* task) {
  return CheckTask(task, 9) && KAVOSchedTaskIsListable(*task);
}

bool onlyListAndEnable(const _tag_kavo_sched_task_* task) {
  return CheckTask(task, 16) && KAVOSchedTaskIsListable(*task) && KAVOSchedTaskIsEnabled(*task);
}

TaskSchedulerHandler::TaskSchedulerHandler(KAVO::APIRequest* request, KAVO::APIResponse* response,
                                           KAVO::Core::TaskScheduler::AppParser* parser)
    : request_(request), response_(response), app_string_parser_(parser) {}

void TaskSchedulerHandler::Process_v1(const char* method) {
  if (method == nullptr || *method == '\0') {
    return;
  }
  Json::Value result;
  bool done = false;
  if (strcmp(method, "list") == 0) {
    done = ListData_v1(result);
  } else if (strcmp(method, "set_enable") == 0) {
    done = SetEnableData_v1(result);
  } else if (strcmp(method, "delete") == 0) {
    done = DeleteData_v1(result);
  } else if (strcmp(method, "run") == 0) {
    done = RunData_v1(result);
  }
  if (done) {
    response_->SetSuccess(result);
  } else {
    ReportError();
  }
}

void TaskSchedulerHandler::SetError(int code, const std::string& message) {
  if (error_code_ != 0) {
    return;
  }
  error_code_ = code;
  error_message_ = message;
}

void TaskSchedulerHandler::SetError(int code, const std::string& message, const Json::Value& data) {
  if (error_code_ != 0) {
    return;
  }
  SetError(code, message);
  error_data_ = data;
}

void TaskSchedulerHandler::ReportError() {
  Json::Value payload;
  if (!error_data_.empty()) {
    payload = error_data_;
  }
  if (!error_message_.empty()) {
    payload["msg"] = error_message_;
  }
  response_->SetError(error_code_, payload);
}

bool TaskSchedulerHandler::ListData_v1(Json::Value& result) {
  TaskList list;
  const std::string sort_by = TextParameter(*request_, "sort_by");
  const std::string direction = TextParameter(*request_, "sort_direction");
  const int ascending = strcasecmp(direction.c_str(), "desc") == 0 ? 0 : 1;

  bool done = false;
  const int total = KAVOSchedTaskListGet(list.Address(), onlyListable);
  if (total < 0) {
    LogPlatformError(kSource, 160, "get task list failed.");
    SetError(kErrorStore, "get task list failed");
  } else if (total > 1 && KAVOSchedTaskListSort(list.Address(), SortKey(sort_by), ascending) < 0) {
    LogPlatformError(kSource, 173, "sort task list failed.");
    SetError(kErrorStore, "sort task list failed");
  } else {
    AppendPage(list.First(), result);
    done = true;
  }
  if (result["tasks"].isNull()) {
    result["tasks"] = Json::Value(Json::arrayValue);
  }
  result["total"] = total;
  return done;
}

void TaskSchedulerHandler::AppendPage(const _tag_kavo_sched_task_* first,
                                      Json::Value& result) const {
  // 64 bits: both are the client's, and their sum has to stay comparable.
  const std::int64_t offset = IntParameter(*request_, "offset", 0);
  const std::int64_t limit = IntParameter(*request_, "limit", -1);
  std::int64_t index = 0;
  for (auto task = first; task != nullptr; task = KAVOSchedTaskNext(task), ++index) {
    if (limit != -1 && offset + limit == index) {
      break;
    }
    if (index >= offset) {
      result["tasks"].append(ListRow(*task));
    }
  }
}

Json::Value TaskSchedulerHandler::ListRow(const _tag_kavo_sched_task_& task) const {
  const std::string app = KAVOSchedTaskGetApp(task);
  const std::string type = GetAppKeyFromNameSpace(app);
  const std::string next_trigger_time = KAVOSchedTaskGetNextTriggerTime(task);

  Json::Value row(Json::objectValue);
  row["enable"] = KAVOSchedTaskIsEnabled(task);
  row["id"] = KAVOSchedTaskGetID(task);
  row["name"] = KAVOSchedTaskGetName(task);
  row["type"] = type;
  if (type == "custom") {
    row["app_name"] = app_string_parser_->GetString(app, KAVOSchedTaskGetAppName(task));
  }
  row["can_run"] = KAVOSchedTaskIsCanRunFromUI(task);
  row["can_delete"] = KAVOSchedTaskIsCanDeleteFromUI(task);
  row["can_edit"] = KAVOSchedTaskIsCanEditFromUI(task);
  row["action"] = KAVOSchedTaskGetAction(task);
  row["next_trigger_time"] = next_trigger_time == "N/A" ? "-" : next_trigger_time;
  if (strcasecmp(type.c_str(), "service") == 0) {
    ReplaceServiceNames(row);
  }
  TranslateActionKey(row, app);
  return row;
}

void TaskSchedulerHandler::TranslateActionKey(Json::Value& row,
                                              const std::string& app_namespace) const {
  const Json::Value& action = std::as_const(row)["action"];
  if (!action.isString()) {
    return;
  }
  constexpr size_t kNone = std::string::npos;
  const std::string scan = action.asString();
  std::string output = scan;
  size_t opening = kNone;
  size_t colon = kNone;
  for (size_t i = 0; i < scan.size(); ++i) {
    if (scan[i] == ':') {
      colon = i;
    } else if (scan[i] != '#') {
      continue;
    } else if (opening == kNone) {
      opening = i;
    } else if (colon == kNone || colon < opening) {
      opening = i;
      colon = kNone;
    } else {
      const std::string key = scan.substr(opening, i - opening + 1);
      const std::string text = app_string_parser_->GetString(app_namespace, key);
      const size_t place = output.find(key);
      if (!text.empty() && place != kNone) {
        output.replace(place, key.size(), text);
      }
      opening = kNone;
      colon = kNone;
    }
  }
  row["action"] = output;
}

bool TaskSchedulerHandler::RunData_v1(Json::Value&) {
  return ForEachTaskID(&TaskSchedulerHandler::RunTask);
}

bool TaskSchedulerHandler::DeleteData_v1(Json::Value&) {
  return ForEachTaskID(&TaskSchedulerHandler::DeleteTask);
}

bool TaskSchedulerHandler::ForEachTaskID(bool (TaskSchedulerHandler::*action)(int id)) {
  const Json::Value task = request_->GetParam("task", Json::Value());
  if (!task.isArray() && !task.isInt()) {
    SetError(kErrorRequest, "task must be an array of id or a single id");
    return false;
  }
  Json::Value ids(Json::arrayValue);
  if (task.isArray()) {
    ids = task;
  } else {
    ids.append(task);
  }
  for (const Json::Value& id : ids) {
    if (!id.isInt()) {
      SetError(kErrorRequest, "id must be an integer");
      return false;
    }
    if (!(this->*action)(id.asInt())) {
      return false;
    }
  }
  return true;
}

bool TaskSchedulerHandler::RunTask(int id) {
  if (KAVOSchedTaskRun(id, 0, 0) < 0) {
    LogPlatformError(kSource, 289, "Failed to run task [%ld].", static_cast<long>(id));
    SetError(kErrorRun, "Failed to run task");
    return false;
  }
  return true;
}

bool TaskSchedulerHandler::DeleteTask(int id) {
  if (KAVOSchedTaskRemove(id) < 0) {
    LogPlatformError(kSource, 250, "Failed to delete task %ld.", static_cast<long>(id));
    SetError(kErrorDelete, "Failed to delete task");
    return false;
  }
  return true;
}

bool TaskSchedulerHandler::SetEnableData_v1(Json::Value&) {
  const Json::Value status = request_->GetParam("status", Json::Value());
  if (!status.isArray()) {
    SetError(kErrorRequest, "tasks must be an array");
    return false;
  }
  const TaskPtr task(KAVOSchedTaskAlloc());
  if (!task) {
    LogPlatformError(kSource, 315, "Failed to new task %ld.", -1L);
    SetError(kErrorStore, "Failed to create task");
    return false;
  }
  for (const Json::Value& element : status) {
    if (!SetTaskState(element, task.get())) {
      return false;
    }
  }
  return true;
}

bool TaskSchedulerHandler::SetTaskState(const Json::Value& element, _tag_kavo_sched_task_* task) {
  if (!element.isObject() || !element["id"].isInt() || !element["enable"].isBool()) {
    SetError(kErrorRequest, "id must be an integer, enabled must be a boolean");
    return false;
  }
  const int id = element["id"].asInt();
  if (KAVOSchedTaskLoad(id, task) < 0) {
    LogPlatformError(kSource, 328, "Failed to get task %ld.", static_cast<long>(id));
    SetError(kErrorLoad, "Failed to get task");
    return false;
  }
  KAVOSchedCTaskSetState(task, element["enable"].asBool() ? 1 : 0);
  if (KAVOSchedTaskSave(task) < 0) {
    LogPlatformError(kSource, 335, "Failed to upadte task %ld.", static_cast<long>(id));
    SetError(kErrorUpdate, "Failed to update task");
    return false;
  }
  return true;
}
