// The handler of the list and the task actions, and the base of the handlers that edit a task.
#pragma once

#include <json/value.h>
#include <kavosched.h>
#include <kavowebapi.h>

#include <string>

#include "app_parser.h"

// List filters for the task store. Both reject a null task: they log it, set the base library's
// error state and return false.
bool onlyListable(const _tag_kavo_sched_task_* task);
bool onlyListAndEnable(const _tag_kavo_sched_task_* task);

// Serves one request, on one thread. Borrows request, response and parser; none of them is freed
// here, and the parser outlives the handler on purpose.
//
// An operation returns true, or records an error with SetError and returns false; the first error
// of a request wins. Only Process_v1 and ReportError write to the response, and once. Exceptions of
// the JSON library pass through.
class TaskSchedulerHandler {
 public:
  TaskSchedulerHandler(KAVO::APIRequest* request, KAVO::APIResponse* response,
                       KAVO::Core::TaskScheduler::AppParser* parser);

  // Runs the operation `method` ("list", "set_enable", "delete" or "run") and answers the request.
  // An unknown method answers the recorded error, which is code 0 with null when there is none; a
  // null or empty one answers nothing.
  void Process_v1(const char* method);

  // Records an error; does nothing when one is recorded already.
  void SetError(int code, const std::string& message);
  void SetError(int code, const std::string& message, const Json::Value& data);

  // Answers with the recorded error: its data, with the message as "msg".
  void ReportError();

  // The page of listable tasks that the request asks for: {"tasks": [...], "total": N}.
  bool ListData_v1(Json::Value& result);
  // The actions leave `result` as it is. They stop at the first failure; what was done before it
  // stands.
  bool SetEnableData_v1(Json::Value& result);
  bool DeleteData_v1(Json::Value& result);
  bool RunData_v1(Json::Value& result);

  // Replaces the UI string keys inside row["action"] that are known for the app by their texts.
  // A row without a text there is left alone.
  void TranslateActionKey(Json::Value& row, const std::string& app_namespace) const;

 protected:
  KAVO::APIRequest* request_;
  KAVO::APIResponse* response_;

 private:
  void AppendPage(const _tag_kavo_sched_task_* first, Json::Value& result) const;
  Json::Value ListRow(const _tag_kavo_sched_task_& task) const;
  bool ForEachTaskID(bool (TaskSchedulerHandler::*action)(int id));
  bool DeleteTask(int id);
  bool RunTask(int id);
  bool SetTaskState(const Json::Value& element, _tag_kavo_sched_task_* task);

  int error_code_ = 0;
  std::string error_message_;
  Json::Value error_data_;
  KAVO::Core::TaskScheduler::AppParser* app_string_parser_;
};
