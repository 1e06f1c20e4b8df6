// The method table and the entry functions.

#include <cstring>
#include <string>

#include "beep_handler.h"
#include "entry_points.h"
#include "error_codes.h"
#include "lib.h"
#include "log.h"
#include "recycle_handler.h"
#include "script_handler.h"
#include "service_handler.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KAVO_LEAK_CHECKER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define KAVO_LEAK_CHECKER
#endif
#ifdef KAVO_LEAK_CHECKER
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using KAVO::APIRequest;
using KAVO::APIResponse;
using KAVO::Core::TaskScheduler::AppParser;

constexpr char kSource[] = "main";
constexpr char kAPI[] = "KAVO.Core.TaskScheduler";

// A parser for the request's language. It is never freed: the handler borrows it, and the server
// ends a worker long before this matters. This is the one object the leak checker is told to pass.
AppParser* NewParser(APIRequest* request) {
  auto* parser = new AppParser(request->GetUILanguage());
#ifdef KAVO_LEAK_CHECKER
  __lsan_ignore_object(parser);
#endif
  return parser;
}

void ServeAction(APIRequest* request, APIResponse* response, const char* method) {
  TaskSchedulerHandler handler(request, response, NewParser(request));
  handler.Process_v1(method);
}

template <typename Handler>
void ServeTask(APIRequest* request, APIResponse* response, const char* method, int version) {
  Handler handler(request, response, NewParser(request));
  handler.Process(method, version);
}

struct AppRow {
  const char* app_key;
  void (*serve)(APIRequest* request, APIResponse* response, const char* method, int version);
  bool can_be_created;
};

constexpr AppRow kApps[] = {
    {"beep", &ServeTask<TaskSchedulerBeepHandler>, true},
    {"script", &ServeTask<TaskSchedulerScriptHandler>, true},
    {"service", &ServeTask<TaskSchedulerServiceHandler>, true},
    {"recycle", &ServeTask<TaskSchedulerRecycleHandler>, true},
    {"custom", &ServeTask<TaskSchedulerBasicHandler>, false},
    {"report", &ServeTask<TaskSchedulerBasicHandler>, false},
    {"backup", &ServeTask<TaskSchedulerBasicHandler>, false},
    {"power", &ServeTask<TaskSchedulerBasicHandler>, false},
    {"zomupdate", &ServeTask<TaskSchedulerBasicHandler>, false},
};

// The row of an app key; null, and `line` in the log, when there is none.
const AppRow* FindApp(const std::string& app_key, bool to_be_created, int line) {
  for (const AppRow& app : kApps) {
    if (app_key == app.app_key && (app.can_be_created || !to_be_created)) {
      return &app;
    }
  }
  LogError(kSource, line, "Unknown app type: %s", app_key.c_str());
  return nullptr;
}

}  // namespace

extern "C" {

const KAVO::APIMethod gTable[] = {
    {kAPI, 1, "list", &TaskSchedulerList_v1},
    {kAPI, 1, "set_enable", &TaskSchedulerSetEnable_v1},
    {kAPI, 1, "delete", &TaskSchedulerDelete_v1},
    {kAPI, 1, "run", &TaskSchedulerRun_v1},
    {kAPI, 1, "get", &TaskSchedulerGet_v1},
    {kAPI, 2, "get", &TaskSchedulerGet_v2},
    {kAPI, 1, "set", &TaskSchedulerSet_v1},
    {kAPI, 2, "set", &TaskSchedulerSet_v2},
    {kAPI, 1, "create", &TaskSchedulerCreate_v1},
    {kAPI, 2, "create", &TaskSchedulerCreate_v2},
    {nullptr, 0, nullptr, nullptr},
};

const KAVO::APIMethod* GetAPITable() {
  return gTable;
}

}  // extern "C"

void TaskSchedulerList_v1(APIRequest* request, APIResponse* response) {
  ServeAction(request, response, "list");
}

void TaskSchedulerSetEnable_v1(APIRequest* request, APIResponse* response) {
  ServeAction(request, response, "set_enable");
}

void TaskSchedulerDelete_v1(APIRequest* request, APIResponse* response) {
  ServeAction(request, response, "delete");
}

void TaskSchedulerRun_v1(APIRequest* request, APIResponse* response) {
  ServeAction(request, response, "run");
}

void TaskSchedulerGet(APIRequest* request, APIResponse* response, int version) {
  const auto id = request->GetAndCheckInt("id", APIRequest::PARAM_REQUIRED, nullptr);
  const auto type = request->GetAndCheckString("type", APIRequest::PARAM_OPTIONAL, nullptr);
  std::string app_key;
  if (id.IsInvalid() || type.IsInvalid()) {
    response->SetError(kErrorRequest, Json::Value());
    return;
  }
  if (type.IsSet()) {
    app_key = type.Get();
  } else if (!GetAppTypeByID(id.Get(), app_key)) {
    response->SetError(kErrorLoad, Json::Value());
    return;
  }
  const AppRow* app = FindApp(app_key, false, 114);
  if (app == nullptr) {
    response->SetError(kErrorRequest, Json::Value());
    return;
  }
  app->serve(request, response, "get", version);
}

void TaskSchedulerSet(APIRequest* request, APIResponse* response, int version) {
  const auto id = request->GetAndCheckInt("id", APIRequest::PARAM_REQUIRED, nullptr);
  if (id.IsInvalid()) {
    response->SetError(kErrorRequest, Json::Value());
    return;
  }
  std::string app_key;
  if (!GetAppTypeByID(id.Get(), app_key)) {
    response->SetError(kErrorLoad, Json::Value());
    return;
  }
  const AppRow* app = FindApp(app_key, false, 159);
  if (app == nullptr) {
    response->SetError(kErrorRequest, Json::Value());
    return;
  }
  app->serve(request, response, "set", version);
}

void TaskSchedulerCreate(APIRequest* request, APIResponse* response, int version) {
  const auto type = request->GetAndCheckString("type", APIRequest::PARAM_REQUIRED, nullptr);
  if (type.IsInvalid()) {
    response->SetError(kErrorRequest, Json::Value());
    return;
  }
  const AppRow* app = FindApp(type.Get(), true, 195);
  if (app == nullptr) {
    response->SetError(kErrorRequest, Json::Value());
    return;
  }
  // A create is a set of a document without an id.
  app->serve(request, response, "set", version);
}

void TaskSchedulerGet_v1(APIRequest* request, APIResponse* response) {
  TaskSchedulerGet(request, response, 1);
}

void TaskSchedulerGet_v2(APIRequest* request, APIResponse* response) {
  TaskSchedulerGet(request, response, 2);
}

void TaskSchedulerSet_v1(APIRequest* request, APIResponse* response) {
  TaskSchedulerSet(request, response, 1);
}

void TaskSchedulerSet_v2(APIRequest* request, APIResponse* response) {
  TaskSchedulerSet(request, response, 2);
}

void TaskSchedulerCreate_v1(APIRequest* request, APIResponse* response) {
  TaskSchedulerCreate(request, response, 1);
}

void TaskSchedulerCreate_v2(APIRequest* request, APIResponse* response) {
  TaskSchedulerCreate(request, response, 2);
}
